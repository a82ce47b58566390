#include "lab/network/program/scenario_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/errors.h"

namespace norvad::test {
namespace {

using namespace network;
using testing::ElementsAre;

Scenario Read(const std::string& text, const std::vector<std::string>& settings = {}) {
    return ReadScenario("file", text, settings);
}

std::string ComplaintOf(const std::string& text, const std::vector<std::string>& settings = {}) {
    try {
        Read(text, settings);
    } catch (const lab::StartError& error) {
        return error.what();
    }
    return "none";
}

std::vector<std::string> LinkNames(const Scenario& scenario) {
    std::vector<std::string> names;
    for (const LinkPlan& link : scenario.links) names.push_back(link.name);
    return names;
}

constexpr auto whole = R"(
title: All that there is
duration: 90s
seed: 7
bridges:
  - row: 2
    name: r
    ports: 3
    priority1: 100
    clock: {error: 20ppm, ramp: 1ppm/s, ramp from: 5s, ramp until: 6s, wander: 3ppb, granularity: 40ns, start: 1h}
    handling: [50us, 1ms]
    cpu port: {rate: 100M, queue: 32}
    link: {delay: 300ns, back: 500ns, jitter: 9ns, loss: 0.1%}
  - {name: gm, no grandmaster: no}
links:
  - {from: gm.0, to: r1.0, delay: 1us}
stations:
  - {name: stage, at: r1, talk: {streams: 2, size: 200, interval frames: 3, class: B, eager: yes}, rate: 8000}
  - {name: hall, at: r2.2, listen: stage, vlans: [10, 20], vlan frames: 10, link: {delay: 5ns}}
events:
  - {at: 20s, mend: r2-r1}
  - {at: 10s, cut: r1-r2}
  - {at: 30s, priority1 of: gm, to: 5}
  - {at: 30s, leave: stage}
expect:
  - {time error: 1us, of: [r1, r2], from: 20s, until: 30s}
  - {time offset: -40ns, give: 8ns, of: r2}
  - {grandmaster: gm, from: 10s}
  - {reserved within: 5s, from: 20s}
  - {stays reserved: yes}
  - {frames lost: 3}
  - {frames lost at least: 20}
  - {latency: as promised}
  - {latency: 2ms}
)";

TEST(ScenarioFile, TellsOfBridgesInARow) {
    const Scenario scenario = Read(whole);

    EXPECT_EQ(scenario.title, "All that there is");
    EXPECT_EQ(scenario.durationNs, 90'000'000'000u);
    EXPECT_EQ(scenario.seed, 7u);
    ASSERT_EQ(scenario.bridges.size(), 3u);
    const BridgePlan& bridge = scenario.bridges[1];
    EXPECT_EQ(bridge.name, "r2");
    EXPECT_EQ(bridge.ports, 3);
    EXPECT_EQ(bridge.ptp.ptpPriority1, 100u);
    EXPECT_EQ(bridge.oscillator.errorPpb, 20'000);
    EXPECT_EQ(bridge.oscillator.rampPpbPerSecond, 1'000);
    EXPECT_EQ(bridge.oscillator.rampFromNs, 5'000'000'000u);
    EXPECT_EQ(bridge.oscillator.rampUntilNs, 6'000'000'000u);
    EXPECT_EQ(bridge.oscillator.wanderPpb, 3);
    EXPECT_EQ(bridge.granularityNs, 40u);
    EXPECT_EQ(bridge.startNs, 3'600'000'000'000u);
    EXPECT_EQ(bridge.leastHandlingNs, 50'000u);
    EXPECT_EQ(bridge.mostHandlingNs, 1'000'000u);
    ASSERT_TRUE(bridge.cpuPort);
    EXPECT_EQ(bridge.cpuPort->bitsPerSecond, 100'000'000u);
    EXPECT_EQ(bridge.cpuPort->queueFrames, 32u);
    EXPECT_FALSE(scenario.bridges[2].cpuPort);
    EXPECT_FALSE(scenario.bridges[2].ptp.ptpNoGM);
}

TEST(ScenarioFile, TellsOfLinksWithTheirCables) {
    const Scenario scenario = Read(whole);

    EXPECT_THAT(LinkNames(scenario), ElementsAre("r1-r2", "gm-r1", "stage-r1", "hall-r2"));
    const LinkPlan& row = scenario.links[0];
    EXPECT_EQ(row.a.port, 1);
    EXPECT_EQ(row.b.port, 0);
    EXPECT_THAT(row.cable.delayNs, ElementsAre(300u, 500u));
    EXPECT_EQ(row.cable.jitterNs, 9u);
    EXPECT_THAT(row.cable.lostPerMillion, ElementsAre(1'000u, 1'000u));
    EXPECT_THAT(scenario.links[1].cable.delayNs, ElementsAre(1'000u, 1'000u));
    EXPECT_NE(scenario.links[0].cable.seed, scenario.links[1].cable.seed);
}

TEST(ScenarioFile, TellsOfStationsAtTheirPorts) {
    const Scenario scenario = Read(whole);

    ASSERT_EQ(scenario.stations.size(), 2u);
    const StationPlan& stage = scenario.stations[0];
    EXPECT_EQ(stage.streams, 2);
    EXPECT_EQ(stage.maxFrameSize, 200);
    EXPECT_EQ(stage.intervalFrames, 3);
    EXPECT_TRUE(stage.isClassB && stage.eager);
    EXPECT_EQ(stage.rate, 8'000u);
    EXPECT_EQ(std::make_pair(stage.bridge, +stage.port), std::make_pair(size_t{0}, 2));
    const StationPlan& hall = scenario.stations[1];
    EXPECT_THAT(hall.listensTo, ElementsAre(0u));
    EXPECT_THAT(hall.vlans, ElementsAre(10, 20));
    EXPECT_THAT(hall.vlanFrames, ElementsAre(10));
}

TEST(ScenarioFile, TellsOfEventsInTheOrderOfTime) {
    const Scenario scenario = Read(whole);

    std::vector<std::string> texts;
    for (const EventPlan& event : scenario.events) texts.push_back(event.text);
    EXPECT_THAT(texts, ElementsAre("cut r1-r2", "mend r2-r1", "priority1 of gm to 5", "leave stage"));
    EXPECT_EQ(scenario.events[1].index, 0u);
    EXPECT_EQ(scenario.events[2].number, 5);
}

TEST(ScenarioFile, TellsWhatIsExpected) {
    const Scenario scenario = Read(whole);

    ASSERT_EQ(scenario.expectations.size(), 9u);
    const Expectation& first = scenario.expectations[0];
    EXPECT_EQ(first.text, "time error 1us of r1, r2 from 20s until 30s");
    EXPECT_EQ(first.fromNs, 20'000'000'000u);
    EXPECT_EQ(first.untilNs, 30'000'000'000u);
    EXPECT_THAT(std::get<TimeErrorLimit>(first.wanted).bridges, ElementsAre(0u, 1u));
    EXPECT_EQ(std::get<TimeOffset>(scenario.expectations[1].wanted).isNs, -40);
    EXPECT_THAT(std::get<OneGrandmaster>(scenario.expectations[2].wanted).followers, ElementsAre(0u, 1u, 2u));
    EXPECT_EQ(std::get<FramesLost>(scenario.expectations[5].wanted).most, 3u);
    EXPECT_EQ(std::get<FramesLost>(scenario.expectations[6].wanted).least, 20u);
    EXPECT_EQ(std::get<LatencyLimit>(scenario.expectations[7].wanted).mostNs, std::nullopt);
    EXPECT_EQ(std::get<LatencyLimit>(scenario.expectations[8].wanted).mostNs, 2'000'000u);
}

std::vector<std::string> LinksOf(const std::string& shape) {
    return LinkNames(Read("{title: t, bridges: [{" + shape + "}]}"));
}

TEST(ScenarioFile, PutsBridgesIntoShapes) {
    EXPECT_THAT(LinksOf("row: 3"), ElementsAre("b1-b2", "b2-b3"));
    EXPECT_THAT(LinksOf("ring: 3"), ElementsAre("b1-b2", "b2-b3", "b3-b1"));
    EXPECT_THAT(LinksOf("star: 4, ports: 3"), ElementsAre("b1-b2", "b1-b3", "b1-b4"));
    EXPECT_THAT(LinksOf("tree: 6, ports: 3"), ElementsAre("b1-b2", "b1-b3", "b2-b4", "b2-b5", "b3-b6"));
    EXPECT_THAT(LinksOf("name: alone"), ElementsAre());
}

TEST(ScenarioFile, DrawsClockErrorsFromTheSeed) {
    const std::string text = "{title: t, bridges: [{row: 50, clock: {error: 10ppm, spread: 100ppm}}]}";
    const auto errors = [&](uint64_t seed) {
        std::vector<int32_t> all;
        for (const auto& bridge : ReadScenario("file", text, {}, seed).bridges)
            all.push_back(bridge.oscillator.errorPpb);
        return all;
    };

    EXPECT_EQ(errors(1), errors(1));
    EXPECT_NE(errors(1), errors(2));
    EXPECT_THAT(errors(1), testing::Each(testing::AllOf(testing::Ge(-90'000), testing::Le(110'000))));
}

TEST(ScenarioFile, TakesValuesFromTheCommandLine) {
    const Scenario scenario = Read(whole, {"bridges.0.row=5", "bridges.0.link.loss=2%", "duration=1s"});

    EXPECT_EQ(scenario.bridges.size(), 6u);
    EXPECT_THAT(scenario.links[0].cable.lostPerMillion, ElementsAre(20'000u, 20'000u));
    EXPECT_EQ(scenario.durationNs, 1'000'000'000u);
}

TEST(ScenarioFile, RefusesSettingsWithoutAPlace) {
    const std::string text = "{title: t, bridges: [{row: 3}]}";

    EXPECT_EQ(ComplaintOf(text, {"bridges"}), "--set bridges: it reads key=value");
    EXPECT_EQ(ComplaintOf(text, {"bridges.1.row=3"}), "--set bridges.1.row=3: the file has no such value");
    EXPECT_EQ(ComplaintOf(text, {"bridges.0.ring=3"}), "--set bridges.0.ring=3: the file has no such value");
    EXPECT_EQ(ComplaintOf(text, {"bridges.0=3"}), "--set bridges.0=3: the file has more than one value there");
    EXPECT_EQ(ComplaintOf(text, {"bridges.0.row=x"}), "file:1:28: 'x' is no whole number from 1 to 2000");
}

struct Complaint {
    std::string text;
    std::string wanted;
};

void PrintTo(const Complaint& complaint, std::ostream* out) {
    *out << complaint.wanted;
}

class ScenarioComplaints : public testing::TestWithParam<Complaint> {};

TEST_P(ScenarioComplaints, NameThePlace) {
    EXPECT_EQ(ComplaintOf(GetParam().text), GetParam().wanted);
}

constexpr auto row = "title: t\nbridges:\n  - row: 2\n";

INSTANTIATE_TEST_SUITE_P(
    ScenarioFile, ScenarioComplaints,
    testing::Values(
        Complaint{"", "file:1:1: names and values are wanted here, such as {name: value}"},
        Complaint{"title: t\nbridges: []", "file:2:10: one bridge at least is wanted here"},
        Complaint{std::string(row) + "expect:\n  - {time error: 1us, of: []}",
                  "file:5:27: one bridge at least is wanted here"},
        Complaint{"title: [", "file:1:1: end of sequence flow not found"},
        Complaint{"title: t", "file:1:1: 'bridges' is missing"},
        Complaint{"title: t\ntitle: u", "file:2:1: 'title' stands here twice"},
        Complaint{std::string(row) + "colour: red",
                  "file:4:1: 'colour' is not known here; possible are bridges, duration, events, expect, links, seed, "
                  "spanning tree after, stations, title"},
        Complaint{std::string(row) + "duration: 5", "file:4:11: '5' is no time such as 200ns, 1.5ms or 60s"},
        Complaint{std::string(row) + "duration: 8000h",
                  "file:4:11: '8000h' is not from 1000000 ns to 604800000000000 ns"},
        Complaint{std::string(row) + "seed: -1", "file:4:7: '-1' is no whole number from 0 to 1000000000"},
        Complaint{"title: t\nbridges:\n  - {row: 2, ring: 3}", "file:3:20: a group of bridges has one shape"},
        Complaint{"title: t\nbridges:\n  - star: 4", "file:3:5: bridge 'b1' has 2 ports and no other"},
        Complaint{"title: t\nbridges:\n  - name: a-b",
                  "file:3:11: 'a-b' is no name of letters, digits and underscores, 40 at most"},
        Complaint{"title: t\nbridges:\n  - name: a\n  - name: a", "file:4:11: 'a' names two things"},
        Complaint{"title: t\nbridges:\n  - {name: a, handling: [2ms, 1ms]}",
                  "file:3:25: the least time is above the most"},
        Complaint{"title: t\nbridges:\n  - {name: a, cpu port: {queue: 0}}",
                  "file:3:33: '0' is no whole number from 1 to 100000"},
        Complaint{"title: t\nbridges:\n  - {name: a, cpu port: {delay: 1us}}",
                  "file:3:26: 'delay' is not known here; possible are queue, rate"},
        Complaint{"title: t\nbridges:\n  - {name: a, clock: {error: 20}}",
                  "file:3:30: '20' is no frequency error such as 50ppm or -20ppb"},
        Complaint{std::string(row) + "links:\n  - {from: b1.0, to: b2.0}", "file:5:22: port b2.0 is taken"},
        Complaint{std::string(row) + "links:\n  - {from: b1.9, to: b2.1}",
                  "file:5:12: bridge 'b1' has 2 ports and no other"},
        Complaint{std::string(row) + "links:\n  - {from: c1, to: b2.1}", "file:5:12: there is no bridge 'c1'"},
        Complaint{std::string(row) + "links:\n  - {from: b1, to: b2}", "file:5:5: 'b1-b2' would be two links"},
        Complaint{std::string(row) + "links:\n  - {from: b1.0, to: b2.1, loss: 101%}",
                  "file:5:34: '101%' is no share from 0% to 100%"},
        Complaint{std::string(row) + "stations:\n  - {name: s, at: b1, listen: t}",
                  "file:5:31: there is no station 't'"},
        Complaint{std::string(row) + "stations:\n  - {name: s, at: b1, talk: {streams: 1, class: C}}",
                  "file:5:49: 'C' is neither A nor B"},
        Complaint{std::string(row) + "stations:\n  - {name: s, at: b1}\n  - {name: t, at: b1}",
                  "file:6:19: all 2 ports of bridge 'b1' are taken"},
        Complaint{std::string(row) + "events:\n  - {at: 1s}", "file:5:5: nothing happens here"},
        Complaint{std::string(row) + "events:\n  - {at: 1s, cut: b1-b3}", "file:5:19: there is no link 'b1-b3'"},
        Complaint{std::string(row) + "events:\n  - {at: 1s, kill: b1, start: b2}",
                  "file:5:31: an event is one thing that happens"},
        Complaint{std::string(row) + "events:\n  - {at: 1s, kill: b1, to: 3}",
                  "file:5:24: 'to' is not known here; possible are at, come, cut, kill, leave, mend, power off, power "
                  "on, priority1 of, start"},
        Complaint{std::string(row) + "expect:\n  - {from: 1s}", "file:5:5: nothing is expected here"},
        Complaint{std::string(row) + "expect:\n  - {frames lost: 0, from: 2s, until: 1s}",
                  "file:5:39: it ends before it begins"},
        Complaint{std::string(row) + "expect:\n  - {time offset: 1us, give: 1ns}", "file:5:5: 'of' is missing"},
        Complaint{std::string(row) + "expect:\n  - {stays reserved: no}", "file:5:22: only yes makes sense here"},
        Complaint{std::string(row) + "expect:\n  - {frames lost at least: 0}",
                  "file:5:28: '0' is no whole number from 1 to 1000000000"},
        Complaint{std::string(row) + "expect:\n  - {frames lost: [1]}",
                  "file:5:19: one value is wanted here, no list and no map"}));

}  // namespace
}  // namespace norvad::test
