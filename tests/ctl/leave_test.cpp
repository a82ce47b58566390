#include "ctl/leave.h"

#include <gtest/gtest.h>

#include "tests/ctl/fake_bridge.h"

namespace norvad::ctl::test {
namespace {

std::string Talker(const std::string& id, const std::string& machines) {
    return "[MSRP] Talker: 02:00:00:00:00:a0:00:" + id +
           ": MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) Applicant " + machines + "\n";
}
std::string Failed(const std::string& id) {
    return "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:" + id +
           ": MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns)\tBridge ID 80:00:02:54:4e:44:00:01:\tError code: "
           "Insufficient bandwidth Applicant VO Registrar IN\n";
}
std::string Listener(const std::string& id, const std::string& machines) {
    return "[MSRP] Listener:0200000000a0:00" + id + " decl:READY Applicant " + machines + "\n";
}

constexpr const char* in = "VO Registrar IN";
constexpr const char* own = "QA Registrar MT";

class Leaving : public testing::Test {
protected:
    Leaving() {
        bridge.streams = "Port 0\n" + Talker("01", in) + Talker("02", own) + Failed("04") + Listener("01", own) +
                         "Port 1\n" + Talker("01", own) + Talker("03", in) + Listener("01", in);
    }

    std::string Sent() const { return bridge.door.taken.size() < 2 ? "nothing" : bridge.door.taken.back(); }

    FakeBridge bridge;
};

TEST_F(Leaving, NamesTheRecordByItsPlaceInTheList) {
    bridge.answers["norvadctl -t 3 "] = "Sending LV to: " + Talker("03", in);
    EXPECT_EQ(bridge.Run({"leave", "talker", "02:00:00:00:00:a0:00:03", "1"}), ExitStatus::DONE);
    EXPECT_EQ(Sent(), "norvadctl -t 3 ");

    bridge.answers["norvadctl -l 1 "] = "Sending LV to: " + Listener("01", in);
    EXPECT_EQ(bridge.Run({"leave", "listener", "0200000000a00001", "1"}), ExitStatus::DONE);
    EXPECT_EQ(Sent(), "norvadctl -l 1 ");
    EXPECT_EQ(bridge.output.str() + bridge.errors.str(), "");
}

TEST_F(Leaving, SendsNothingForWhatNoNeighbourDeclares) {
    const std::vector<const char*> cases[] = {
        {"leave", "talker", "0200000000a00002", "0"},  // this bridge's own
        {"leave", "talker", "0200000000a00004", "0"},  // a failed one has no number
        {"leave", "talker", "0200000000a00003", "0"},  // that is at port 1
        {"leave", "listener", "0200000000a00001", "0"}, {"leave", "listener", "0200000000a000ff", "1"},
    };
    for (const auto& words : cases) {
        bridge.errors.str("");
        EXPECT_EQ(bridge.Run(words), ExitStatus::FAILED) << testing::PrintToString(words);
        EXPECT_EQ(bridge.errors.str(),
                  std::string("norvadctl: no neighbour declares that ") + words[1] + " at port " + words[3] + "\n");
    }
    for (const std::string& request : bridge.door.taken) EXPECT_EQ(request, "norvadctl -r ");
}

// Between the two requests an entry may come or go, and the number then names another one.
TEST_F(Leaving, SaysWhenTheDaemonLeftAnotherRecord) {
    for (const std::string& answer :
         {"Sending LV to: " + Talker("02", own), std::string("Talker not found"), Talker("03", in)}) {
        bridge.answers["norvadctl -t 3 "] = answer;
        bridge.errors.str("");
        EXPECT_EQ(bridge.Run({"leave", "talker", "0200000000a00003", "1"}), ExitStatus::FAILED) << answer;
        EXPECT_EQ(bridge.errors.str().find("norvadctl: the list changed meanwhile, and the daemon answers: "), 0U);
    }
}

TEST_F(Leaving, RefusesWordsThatMakeNoSense) {
    const std::vector<const char*> cases[] = {
        {"leave"},
        {"leave", "talker"},
        {"leave", "talker", "0200000000a00003"},
        {"leave", "talker", "0200000000a00003", "7"},
        {"leave", "talker", "3", "1"},
        {"leave", "vlan", "0200000000a00003", "1"},
        {"leave", "talker", "0200000000a00003", "1", "1"},
        {"leave", "talker", "0200000000a00003", "1", "--json"},
        {"leave", "talker", "0200000000a00003", "--port", "1"},
    };
    for (const auto& words : cases) EXPECT_THROW(bridge.Run(words), UsageError) << testing::PrintToString(words);
    EXPECT_TRUE(bridge.door.taken.empty());
}

}  // namespace
}  // namespace norvad::ctl::test
