#include "ctl/wait.h"

#include <gtest/gtest.h>

#include "tests/ctl/fake_bridge.h"

namespace norvad::ctl::test {
namespace {

const std::string talker =
    "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
    "Applicant VO Registrar IN\n";
const std::string readyListener = "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant VO Registrar IN\n";
const std::string carriedOn = "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant QA Registrar MT\n";
const std::string reserved = "Port 0\n" + talker + carriedOn + "Port 1\n" + readyListener;

class Waiting : public testing::Test {
protected:
    // Whether it came while the bridge changed so.
    std::optional<ExitStatus> WaitFor(std::vector<const char*> words, std::vector<std::function<void()>> changes = {}) {
        bridge.During(std::move(changes));
        words.insert(words.begin(), "wait");
        return bridge.Run(words);
    }

    FakeBridge bridge;
};

TEST_F(Waiting, EndsAtOnceWhenItIsSo) {
    bridge.ports = FakeBridge::portAsCapable;

    EXPECT_EQ(WaitFor({"port", "0"}), ExitStatus::DONE);

    EXPECT_EQ(bridge.door.taken, std::vector<std::string>{"norvadctl -s "});
    EXPECT_EQ(bridge.output.str() + bridge.errors.str(), "");
}

TEST_F(Waiting, LooksOnceASecondUntilThePortIsAsCapable) {
    bridge.ports = FakeBridge::portDown;

    EXPECT_EQ(WaitFor({"port", "0"},
                      {[&] { bridge.ports = FakeBridge::portUp; }, [&] { bridge.ports = FakeBridge::portAsCapable; }}),
              ExitStatus::DONE);

    EXPECT_EQ(bridge.door.triedAtMs, (std::vector<uint64_t>{1000, 2000, 3000}));
}

TEST_F(Waiting, TakesNoOtherPortForIt) {
    bridge.ports = FakeBridge::portAsCapable;

    EXPECT_FALSE(WaitFor({"port", "1"}, {[] {}}));
}

TEST_F(Waiting, WantsTheStreamReservedForAListener) {
    bridge.streams = "Port 0\n" + talker + "Port 1\n" + readyListener;

    EXPECT_EQ(WaitFor({"stream", "02:00:00:00:00:a0:00:01"}, {[] {}, [&] { bridge.streams = reserved; }}),
              ExitStatus::DONE);
    EXPECT_EQ(bridge.door.taken.size(), 3U);
}

TEST_F(Waiting, TakesNoOtherStreamAndNoUnknownReservationForIt) {
    bridge.streams = reserved;
    EXPECT_FALSE(WaitFor({"stream", "02000000000000ff"}, {[] {}}));

    bridge.streams = "Port 0\n" + talker + carriedOn +
                     "Port 1\n[MSRP] Listener:0200000000a0:0001 decl:ASKING_FAILED Applicant VO Registrar IN\n";
    EXPECT_FALSE(WaitFor({"stream", "0200000000a00001"}, {[] {}}));
}

TEST_F(Waiting, WantsAGrandmasterOrASlaveThatFollowsClosely) {
    const std::pair<std::string, bool> cases[] = {
        {FakeBridge::Status("MASTER", "AD:0ns:RMS:0"), true},
        {FakeBridge::Status("SLAVE", "AD:499ns:RMS:3"), true},
        {FakeBridge::Status("SLAVE", "AD:-499ns:RMS:3"), true},
        {FakeBridge::Status("SLAVE", "AD:500ns:RMS:3"), false},
        {FakeBridge::Status("SLAVE", "AD:-500ns:RMS:3"), false},
        {FakeBridge::Status("SLAVE", "AD:0ns:RMS:0"), false},
        {FakeBridge::Status("SLAVE", "AD:0ns:RMS:3"), true},
        {FakeBridge::Status("LISTENING"), false},
        {FakeBridge::Status("ANNOUNCE"), false},
        {"", false},
    };
    for (const auto& [answer, hasTime] : cases) {
        bridge.clock = answer;
        EXPECT_EQ(WaitFor({"clock"}, {}) == ExitStatus::DONE, hasTime) << answer;
    }
}

TEST_F(Waiting, GivesUpAfterTheTimeout) {
    bridge.ports = FakeBridge::portUp;

    EXPECT_EQ(WaitFor({"port", "0", "--timeout", "3"}, {[] {}, [] {}, [] {}, [] {}}), ExitStatus::FAILED);

    EXPECT_EQ(bridge.door.triedAtMs, (std::vector<uint64_t>{1000, 2000, 3000, 4000}));
    EXPECT_EQ(bridge.errors.str(), "norvadctl: waited 3 s: it is not so\n");
}

TEST_F(Waiting, LooksOnceWithoutAnyTimeToWait) {
    bridge.ports = FakeBridge::portUp;
    EXPECT_EQ(WaitFor({"port", "0", "--timeout", "0"}), ExitStatus::FAILED);

    bridge.ports = FakeBridge::portAsCapable;
    EXPECT_EQ(WaitFor({"port", "0", "--timeout", "0"}), ExitStatus::DONE);
}

TEST_F(Waiting, WaitsForTheDaemonAsWell) {
    bridge.ports = FakeBridge::portAsCapable;
    bridge.Vanish();

    EXPECT_EQ(WaitFor({"port", "0"}, {[] {}, [&] { bridge.Appear(); }}), ExitStatus::DONE);
}

TEST_F(Waiting, SaysThatThereWasNoDaemon) {
    bridge.Vanish();

    EXPECT_EQ(WaitFor({"port", "0", "--timeout", "1"}, {[] {}}), ExitStatus::FAILED);
    EXPECT_EQ(bridge.errors.str(), "norvadctl: waited 1 s: no daemon runs: there is no request queue /norvad.mq\n");
}

TEST_F(Waiting, EndsWhenThisUserMayNotAsk) {
    bridge.door.sendings = {ControlDoor::Sending::DENIED};

    EXPECT_THROW(WaitFor({"port", "0"}), NoAnswer);
}

// A daemon that takes the question and stays silent costs the patience of a look and no more than what is left.
TEST_F(Waiting, IsHeldUpByASilentDaemonForASecondAtMost) {
    bridge.door.daemon = [](const std::string&) { return std::vector<FakeControlDoor::Piece>(); };

    EXPECT_EQ(WaitFor({"port", "0", "--timeout", "2"}, {[] {}, [] {}}), ExitStatus::FAILED);

    EXPECT_LE(bridge.door.nowMs, 1000U + 3000U);
    EXPECT_EQ(bridge.errors.str().find("norvadctl: waited 2 s: the daemon does not answer"), 0U) << bridge.errors.str();
}

TEST_F(Waiting, RefusesWordsThatMakeNoSense) {
    const std::vector<const char*> cases[] = {
        {},
        {"port"},
        {"port", "7"},
        {"port", "-1"},
        {"port", "0", "1"},
        {"stream", "02:00"},
        {"clock", "1"},
        {"daemon"},
        {"clock", "--timeout", "-1"},
        {"clock", "--json"},
        {"clock", "--port", "1"},
    };
    for (const auto& words : cases) EXPECT_THROW(WaitFor(words), UsageError) << testing::PrintToString(words);
    EXPECT_THROW(bridge.Run({"events", "--timeout", "3"}), UsageError);
    EXPECT_TRUE(bridge.door.taken.empty());
}

}  // namespace
}  // namespace norvad::ctl::test
