#include "lab/network/program/scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/errors.h"
#include "lab/network/program/recorder.h"
#include "lab/network/program/scenario_reader.h"
#include "lab/network/program/series.h"
#include "lab/network/program/verdict.h"

namespace norvad::test {
namespace {

using namespace network;
using testing::AllOf;
using testing::Each;
using testing::Field;
using testing::Not;
using testing::StartsWith;

constexpr uint64_t second = 1'000'000'000;

constexpr auto threeInARow = R"(
title: Three in a row
duration: 12s
bridges:
  - row: 3
stations:
  - {name: stage, at: b1, talk: 2}
  - {name: hall, at: b3, listen: stage}
)";

// A network of a file, run to its end and looked at on the way.
class Played {
public:
    explicit Played(const std::string& text, uint64_t seed = 1)
        : scenario(ReadScenario("file", text, {}, seed)), scene(scenario), recorder(scene) {
        for (uint64_t ns = 0; ns <= scenario.durationNs; ns += second / 10) {
            scene.RunUntil(ns);
            recorder.Look();
        }
    }

    std::string Tables() const {
        return TimeTable(scenario, recorder.Samples()) + TrafficTable(scene, recorder.Samples()) +
               StreamTable(scenario, scene) + LatencyTable(scenario, scene, recorder.Samples()) +
               QueueTable(recorder.Samples()) + PortTable(scenario, scene) + EventTable(scenario);
    }
    const Sample& At(uint64_t ns) const { return recorder.Samples().at(static_cast<size_t>(ns / (second / 10))); }
    std::vector<Verdict> Verdicts() const { return Judge(scenario, scene, recorder.Samples()); }

    const Scenario scenario;
    Scene scene;
    Recorder recorder;
};

TEST(AScene, IsTheSameForTheSameSeed) {
    const std::string text = R"(
title: All that is random
duration: 20s
bridges:
  - row: 4
    clock: {spread: 50ppm, wander: 5ppb}
    handling: [50us, 550us]
    link: {loss: 2%, jitter: 500ns, rate: 100M}
stations:
  - {name: stage, at: b1, talk: 3, link: {loss: 1%}}
  - {name: hall, at: b4, listen: stage}
events:
  - {at: 10s, cut: b2-b3}
  - {at: 12s, mend: b2-b3}
)";
    const std::string first = Played(text, 5).Tables();

    EXPECT_EQ(Played(text, 5).Tables(), first);
    EXPECT_NE(Played(text, 6).Tables(), first);
}

// The neighbours of a killed daemon hear nothing of it, and declare what they had declared at the next LeaveAll.
TEST(AScene, HasReservedAStreamWhenEveryBridgeOnItsWayLetsItPass) {
    std::string text = std::string(threeInARow) + "events:\n  - {at: 5s, kill: b2}\n  - {at: 6s, start: b2}\n";
    text.replace(text.find("12s"), 3, "25s");
    const Played played(text);

    EXPECT_EQ(played.At(0).reserved, 0u);
    EXPECT_EQ(played.At(49 * second / 10).reserved, 2u);
    EXPECT_EQ(played.At(51 * second / 10).reserved, 0u);
    EXPECT_EQ(played.At(25 * second).reserved, 2u);
    EXPECT_GT(played.At(25 * second).lostStreamFrames, 0u);
}

TEST(AScene, TellsWhoFollowsWhom) {
    const Played played(std::string(threeInARow) + "events:\n  - {at: 9s, power off: b3}\n");

    EXPECT_THAT(played.At(8 * second).bridges, Each(Field(&Sample::BridgeTime::grandmaster, 0u)));
    EXPECT_EQ(played.At(10 * second).bridges[2].grandmaster, std::nullopt);
}

TEST(AScene, LetsATalkerLeaveAndComeAgain) {
    const Played played(std::string(threeInARow) + "events:\n  - {at: 6s, leave: stage}\n  - {at: 9s, come: stage}\n");

    EXPECT_EQ(played.At(59 * second / 10).reserved, 2u);
    EXPECT_EQ(played.At(85 * second / 10).reserved, 0u);
    EXPECT_EQ(played.At(12 * second).reserved, 2u);
    EXPECT_EQ(played.At(12 * second).lostStreamFrames, 0u);
}

// A frame of 100 bytes and its tag takes 12 us on each of three cables; a class A stream is promised what frames before
// it may take. Both talkers have one listener, and the first another one.
TEST(AScene, TellsOfLatenciesByRoute) {
    const Played played(R"(
title: routes
duration: 6s
bridges:
  - {row: 2, ports: 5, link: {rate: 100M}}
stations:
  - {name: near, at: b2, talk: 2, link: {rate: 100M}}
  - {name: far, at: b1, talk: 2, link: {rate: 100M}}
  - {name: hall, at: b2, listen: [near, far], link: {rate: 100M}}
  - {name: lobby, at: b2, listen: far, link: {rate: 100M}}
)");
    const auto& routes = played.scene.Routes();
    ASSERT_EQ(routes.size(), 3u);
    EXPECT_EQ(std::make_pair(routes[0].talker, routes[0].listener), std::make_pair(size_t{0}, size_t{2}));
    EXPECT_EQ(std::make_pair(routes[2].talker, routes[2].listener), std::make_pair(size_t{1}, size_t{3}));

    const auto& latencies = played.At(5 * second).latencies;
    ASSERT_EQ(latencies.size(), 3u);
    EXPECT_GT(latencies[0].mostNs, 20'000u);
    EXPECT_LT(latencies[0].mostNs, latencies[1].mostNs);
    EXPECT_EQ(latencies[1].mostNs, latencies[2].mostNs);
    EXPECT_GT(latencies[0].promisedNs, latencies[0].mostNs);
    EXPECT_GT(latencies[1].promisedNs, latencies[0].promisedNs);
    EXPECT_EQ(played.At(0).latencies[0].promisedNs, 0u);
}

TEST(AScene, TellsWhereFramesWereLost) {
    const Played played(R"(
title: losses
duration: 6s
bridges:
  - {row: 2, ports: 3, link: {rate: 1M, queue: 3, delay: 1ms}}
stations:
  - {name: stage, at: b1, vlan frames: 20, rate: 2000}
  - {name: hall, at: b2, vlans: 20, link: {loss: 50%}}
events:
  - {at: 5s, cut: b1-b2}
)");
    const PortTally& narrow = played.scene.TallyOf({false, 0, 1});
    const PortTally& lossy = played.scene.TallyOf({false, 1, 1});

    EXPECT_GT(narrow.queues[3].lost, 100u);
    EXPECT_EQ(narrow.queues[3].deepest, 3u);
    EXPECT_GE(narrow.cutOff, 1u + 3u);
    EXPECT_EQ(narrow.lostOnCable, 0u);
    EXPECT_GT(lossy.lostOnCable, 100u);
    EXPECT_EQ(played.At(4 * second).waiting[3], 3u);
    const Losses& lost = played.At(6 * second).lost;
    EXPECT_EQ(lost.atFullQueues, narrow.CrowdedOut());
    EXPECT_EQ(lost.onCables, lossy.lostOnCable + played.scene.TallyOf({true, 1, 0}).lostOnCable);
    EXPECT_EQ(lost.cutOff, narrow.cutOff + played.scene.TallyOf({false, 1, 0}).cutOff);
    EXPECT_THAT(
        PortTable(played.scenario, played.scene),
        testing::HasSubstr("\nb1.1,b2.0," + std::to_string(narrow.sent) + ",0," + std::to_string(narrow.cutOff) +
                           ",0,0,0," + std::to_string(narrow.CrowdedOut()) + ",0,0,"));
}

// As soon as it is plugged in, a station offers more than the queue before the daemon holds.
TEST(AScene, TellsOfTheFramesForDaemons) {
    const Played played(R"(
title: daemon
duration: 8s
bridges:
  - {row: 2, handling: 1ms, cpu port: {queue: 4}}
stations:
  - {name: stage, at: b1, talk: 1000}
)");
    const PortTally& tally = played.scene.CpuTallyOf(0);

    EXPECT_GT(tally.CrowdedOut(), 0u);
    EXPECT_EQ(played.At(8 * second).lost.beforeDaemons, tally.CrowdedOut() + played.scene.CpuTallyOf(1).CrowdedOut());
    EXPECT_EQ(std::max_element(played.recorder.Samples().begin(), played.recorder.Samples().end(),
                               [](const Sample& left, const Sample& right) {
                                   return left.waitingForDaemon < right.waitingForDaemon;
                               })
                  ->waitingForDaemon,
              4u);
    EXPECT_THAT(PortTable(played.scenario, played.scene),
                testing::HasSubstr("\nb1.cpu,daemon," + std::to_string(tally.sent) + ",0,0,0,0," +
                                   std::to_string(tally.CrowdedOut()) + ",0,0,0,4,0\n"));
}

// A clock that a wrong Follow_Up has set is off by centuries, on one side and on the other.
TEST(TheMeanOfTimeErrors, MayBeOfCenturies) {
    constexpr int64_t century = 3'155'760'000'000'000'000;

    EXPECT_EQ(MeanNs({}), 0);
    EXPECT_EQ(MeanNs({-5, -6}), -5);
    EXPECT_EQ(MeanNs({2 * century, 2 * century, 2 * century}), 2 * century);
    EXPECT_EQ(MeanNs({-2 * century, -2 * century}), -2 * century);
    EXPECT_EQ(MeanNs({INT64_MAX, INT64_MAX}), 9'200'000'000'000'000'000);
}

TEST(AScene, ChangesAPriority) {
    const Played played(std::string(threeInARow) + "events:\n  - {at: 6s, priority1 of: b3, to: 1}\n");

    EXPECT_EQ(played.At(12 * second).bridges[0].grandmaster, 2u);
}

// Nobody follows anybody here: from 1 s to 3 s the rate of b2 grows by 1 ppm ten times a second.
TEST(AScene, DriftsAsTheFileSays) {
    const Scenario scenario = ReadScenario(
        "file", "{title: t, bridges: [{name: b1}, {name: b2, clock: {ramp: 10ppm/s, ramp from: 1s, ramp until: 3s}}]}");
    Scene scene(scenario);
    auto gainedNs = [&, before = int64_t{0}](uint64_t untilNs) mutable {
        scene.RunUntil(untilNs);
        const int64_t ahead = scene.AheadNs(1, 0);
        return ahead - std::exchange(before, ahead);
    };

    EXPECT_EQ(gainedNs(second), 0);
    EXPECT_EQ(gainedNs(2 * second), 100 * (1 + 2 + 3 + 4 + 5 + 6 + 7 + 8 + 9 + 10));
    (void)gainedNs(3 * second);
    EXPECT_EQ(gainedNs(4 * second), 20'000);
}

TEST(AScene, ShowsTheFramesOfALinkInBothDirections) {
    const Scenario scenario = ReadScenario("file", threeInARow);
    Scene scene(scenario);
    std::vector<uint64_t> instants;
    std::vector<uint8_t> lastBytesOfSources;
    scene.Watch("b2.0", [&](std::span<const uint8_t> frame, uint64_t ns) {
        instants.push_back(ns);
        lastBytesOfSources.push_back(frame[11]);
    });
    scene.RunUntil(5 * second);

    EXPECT_THAT(lastBytesOfSources, AllOf(testing::Contains(0), testing::Contains(1), Not(testing::Contains(2))));
    EXPECT_TRUE(std::is_sorted(instants.begin(), instants.end()));
    EXPECT_LE(instants.back(), 5 * second);
    EXPECT_THROW(scene.Watch("b9.0", {}), lab::StartError);
}

TEST(ARing, StormsNotWhereTheStandInForSpanningTreeClosesIt) {
    const Played played(R"(
title: ring
duration: 12s
spanning tree after: 1s
bridges:
  - {ring: 4, ports: 3}
stations:
  - {name: one, at: b1, vlans: 10, vlan frames: 10, rate: 10}
  - {name: two, at: b3, vlans: 10, talk: 1, rate: 10}
  - {name: three, at: b2, listen: two}
events:
  - {at: 6s, cut: b2-b3}
)");

    EXPECT_EQ(played.At(59 * second / 10).reserved, 1u);
    EXPECT_EQ(played.At(12 * second).reserved, 1u);
}

struct Expected {
    std::string line;
    bool holds;
    std::string text;
};

void PrintTo(const Expected& expected, std::ostream* out) {
    *out << expected.line;
}

class WhatIsExpected : public testing::TestWithParam<Expected> {};

TEST_P(WhatIsExpected, IsHeldAgainstWhatWasSeen) {
    const Played played(std::string(threeInARow) + "events: [{at: 10s, cut: b1-b2}]\nexpect:\n  - " + GetParam().line);
    const Verdict verdict = played.Verdicts().at(0);

    EXPECT_EQ(verdict.holds, GetParam().holds) << verdict.text;
    EXPECT_THAT(verdict.text, StartsWith(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    AScene, WhatIsExpected,
    testing::Values(
        Expected{"{time error: 100ns, from: 8s, until: 9s}", true, "time error 100ns from 8s until 9s: largest "},
        Expected{"{time error: 100ns}", false, "time error 100ns: b1 follows nobody at 0 ns"},
        Expected{"{time offset: 0ns, give: 20ns, of: b3, from: 8s, until: 9s}", true,
                 "time offset 0ns give 20ns of b3 from 8s "},
        Expected{"{time offset: 5us, give: 20ns, of: b3, from: 8s, until: 9s}", false,
                 "time offset 5us give 20ns of b3 "},
        Expected{"{grandmaster: b1, from: 8s, until: 9s}", true,
                 "grandmaster b1 from 8s until 9s: 3 bridges follow b1"},
        Expected{"{grandmaster: b2, from: 8s, until: 9s}", false,
                 "grandmaster b2 from 8s until 9s: b1 follows b1 at 8 s"},
        Expected{"{reserved within: 8s}", true, "reserved within 8s: 2 of 2 at "},
        Expected{"{reserved within: 1ms}", false, "reserved within 1ms: 2 of 2 at "},
        Expected{"{reserved within: 1s, from: 11s}", false, "reserved within 1s from 11s: 0 of 2 in the end"},
        Expected{"{stays reserved: yes, from: 8s, until: 9s}", true, "stays reserved yes from 8s until 9s: 2 all "},
        Expected{"{stays reserved: yes, from: 9s}", false,
                 "stays reserved yes from 9s: 0 of 2 at 10 s, fewer than all in 21 of 31 looks"},
        Expected{"{frames lost: 0, until: 9s}", true, "frames lost 0 until 9s: 0 frames"},
        Expected{"{frames lost: 100}", false, "frames lost 100: 2"},
        Expected{"{frames lost at least: 100}", true, "frames lost at least 100: 2"},
        Expected{"{frames lost at least: 1, until: 9s}", false, "frames lost at least 1 until 9s: 0 frames"},
        Expected{"{latency: as promised}", false, "latency as promised: nothing was promised for stage.0"},
        Expected{"{latency: 1s}", true, "latency 1s: largest "}, Expected{"{latency: 10ns}", false, "latency 10ns: "},
        Expected{"{frames lost: 0, from: 20s}", false, "frames lost 0 from 20s: the run is over before that"}));

}  // namespace
}  // namespace norvad::test
