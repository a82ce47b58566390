#include "ctl/events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "ctl/local_time.h"
#include "tests/ctl/fake_bridge.h"
#include "tests/ctl/json_schema.h"

namespace norvad::ctl::test {
namespace {

const std::string talker =
    "Port 1\n[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
    "Applicant VO Registrar IN\n";

// Local time is a zone east of Greenwich that is no whole number of hours away.
class Events : public testing::Test {
protected:
    Events() {
        SetZone("TST-5:30");
        bridge.ports = FakeBridge::portUp;
        bridge.clock = FakeBridge::Status("LISTENING");
    }
    ~Events() override { SetZone("UTC"); }

    static void SetZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    FakeBridge bridge;
};

TEST_F(Events, TellWhatChangesWithTheLocalTime) {
    bridge.During({[&] { bridge.ports = FakeBridge::portAsCapable; }, [&] { bridge.streams = talker; }, [] {}});

    EXPECT_FALSE(bridge.Run({"events"}));

    EXPECT_EQ(bridge.output.str(),
              "1970-01-01 05:30:02 port 0: AS capable\n"
              "1970-01-01 05:30:03 stream 02:00:00:00:00:a0:00:01: talker came at port 1\n");
    EXPECT_EQ(bridge.errors.str(), "");
}

TEST_F(Events, AskNoMoreOftenThanOnceASecond) {
    bridge.During({[] {}, [] {}, [] {}});

    bridge.Run({"events"});

    EXPECT_EQ(std::count(bridge.door.taken.begin(), bridge.door.taken.end(), "norvadctl -s "), 4);
    EXPECT_GE(bridge.door.triedAtMs.back() - bridge.door.triedAtMs.front(), 3000U);
}

TEST_F(Events, TellOnceThatTheDaemonIsGoneAndOnceThatItIsBack) {
    bridge.During({[&] { bridge.Vanish(); }, [] {},
                   [&] {
                       bridge.Appear();
                       bridge.ports = FakeBridge::portDown;
                   },
                   [] {}});

    EXPECT_FALSE(bridge.Run({"events"}));

    EXPECT_EQ(bridge.output.str(),
              "1970-01-01 05:30:02 the daemon is gone (no daemon runs: there is no request queue /norvad.mq)\n"
              "1970-01-01 05:30:04 the daemon is back\n"
              "1970-01-01 05:30:04 port 0: link down\n");
}

TEST_F(Events, WaitForADaemonThatWasNotThereFromTheBeginning) {
    bridge.Vanish();
    bridge.During({[&] { bridge.Appear(); }});

    EXPECT_FALSE(bridge.Run({"events"}));

    EXPECT_EQ(bridge.output.str(),
              "1970-01-01 05:30:01 the daemon is gone (no daemon runs: there is no request queue /norvad.mq)\n"
              "1970-01-01 05:30:02 the daemon is back\n");
}

TEST_F(Events, AreJsonThatTheSchemaDescribes) {
    bridge.During({[&] {
                       bridge.ports = FakeBridge::portDown;
                       bridge.streams = talker;
                       bridge.vlans = "Port 1\n[MVRP] Vlan:2 Applicant VO Registrar IN\n";
                       bridge.clock = FakeBridge::Status("SLAVE");
                   },
                   [&] { bridge.Vanish(); }});

    bridge.Run({"events", "--json"});

    std::istringstream lines(bridge.output.str());
    std::vector<nlohmann::json> events;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_EQ(SchemaViolation(line), "") << line;
        events.push_back(nlohmann::json::parse(line)["event"]);
    }
    ASSERT_EQ(events.size(), 5U);
    EXPECT_EQ(events[0]["time"], "1970-01-01T05:30:02+05:30");
    EXPECT_EQ(events[0]["kind"], "link-down");
    EXPECT_EQ(events[1]["kind"], "clock-state-changed");
    EXPECT_FALSE(events[1].contains("port"));
    EXPECT_EQ(events[2]["stream"], "02:00:00:00:00:a0:00:01");
    EXPECT_EQ(events[2]["port"], 1);
    EXPECT_EQ(events[3]["vid"], 2);
    EXPECT_EQ(events[4]["kind"], "daemon-gone");
}

TEST_F(Events, AreFilteredByPortAndStream) {
    bridge.During({[&] {
        bridge.ports = FakeBridge::portDown;
        bridge.streams = talker;
    }});
    bridge.Run({"events", "--port", "1"});
    EXPECT_EQ(bridge.output.str(), "1970-01-01 05:30:02 stream 02:00:00:00:00:a0:00:01: talker came at port 1\n");

    bridge.output.str("");
    bridge.streams = "";
    bridge.During({[&] {
                       bridge.ports = FakeBridge::portUp;
                       bridge.streams = talker;
                   },
                   [&] { bridge.Vanish(); }});
    bridge.Run({"events", "--stream", "02000000000000ff"});
    EXPECT_EQ(bridge.output.str().find("1970-01-01 05:30:05 the daemon is gone"), 0U) << bridge.output.str();
}

TEST_F(Events, EndWhenNobodyReadsThem) {
    bridge.During({[&] {
        bridge.ports = FakeBridge::portDown;
        bridge.output.setstate(std::ios::badbit);
    }});

    EXPECT_EQ(bridge.Run({"events"}), ExitStatus::DONE);
}

TEST_F(Events, EndWhenThisUserMayNotAsk) {
    bridge.During({[&] { bridge.door.sendings = {ControlDoor::Sending::DENIED}; }});

    EXPECT_THROW(bridge.Run({"events"}), NoAnswer);
}

TEST_F(Events, SayOnceThatLinesAreNotUnderstood) {
    bridge.ports = "nonsense\n";
    bridge.During({[] {}, [] {}});

    bridge.Run({"events"});

    EXPECT_EQ(bridge.errors.str(), "norvadctl: 1 lines of the daemon's answer were not understood:\n  nonsense\n");
}

TEST_F(Events, RefuseWhatTheyDoNotUse) {
    const std::vector<const char*> cases[] = {
        {"events", "more"}, {"events", "--count"}, {"events", "--limit", "3"}, {"events", "--offset", "3"}};
    for (const auto& words : cases) EXPECT_THROW(bridge.Run(words), UsageError) << words[1];
    EXPECT_TRUE(bridge.door.taken.empty());
}

TEST_F(Events, HaveAKindThatTheSchemaKnowsForEachChange) {
    for (size_t kind = 0; kind < changeKindNames.size(); ++kind) {
        const Json event = EventJson({.kind = static_cast<ChangeKind>(kind), .text = "text"}, {0, 0});
        EXPECT_EQ(SchemaViolation(event.dump()), "") << changeKindNames[kind];
    }
}

TEST_F(Events, HaveTimesAlsoWestOfGreenwich) {
    SetZone("TST3:30");
    EXPECT_EQ(LocalTimeRfc3339({86'400, 0}), "1970-01-01T20:30:00-03:30");
    EXPECT_EQ(LocalTimeText({86'400, 0}), "1970-01-01 20:30:00");
}

}  // namespace
}  // namespace norvad::ctl::test
