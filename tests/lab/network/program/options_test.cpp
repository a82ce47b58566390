#include "lab/network/program/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lab/common/errors.h"

namespace norvad::test {
namespace {

using network::LogRequest;
using network::Options;

Options Parsed(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), {"norvad3-network", "row.yaml"});
    return network::ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

std::string Refusal(const std::vector<const char*>& arguments) {
    try {
        Parsed(arguments);
    } catch (const lab::StartError& error) {
        return error.what();
    }
    return "none";
}

TEST(NetworkOptions, AskForTheLogsOfBridges) {
    const auto logs = Parsed({"--out", "d", "--log", "b4:PTP=2", "--log", "b4:mSrP=9", "--log=gm:ioctl=0"}).logs;

    ASSERT_EQ(logs.size(), 3u);
    EXPECT_EQ(logs[0].bridge, "b4");
    EXPECT_EQ(logs[0].category, LogCategory::PTP);
    EXPECT_EQ(logs[0].level, 2);
    EXPECT_EQ(logs[1].category, LogCategory::MSRP);
    EXPECT_EQ(logs[1].level, 9);
    EXPECT_EQ(logs[2].bridge, "gm");
    EXPECT_EQ(logs[2].category, LogCategory::IOCTL);
    EXPECT_EQ(logs[2].level, 0);
}

TEST(NetworkOptions, RefuseLogsThatMakeNoSense) {
    EXPECT_EQ(Refusal({"--log", "b4:PTP=2"}), "--log wants --out");
    for (const std::string text : {"b4", "b4:PTP", "b4=PTP:2", "=:"}) {
        EXPECT_EQ(Refusal({"--out", "d", "--log", text.c_str()}),
                  "--log " + text + ": it reads bridge:category=level, e.g. b4:PTP=2");
    }
    for (const std::string text : {"b4:=2", "b4:PT=2", "b4:PTPS=2", "b4: PTP=2"}) {
        EXPECT_EQ(Refusal({"--out", "d", "--log", text.c_str()}),
                  "--log " + text + ": the category is SOCKET, MRP, MSRP, MVRP, PTP or IOCTL");
    }
    for (const std::string text : {"b4:PTP=", "b4:PTP=x", "b4:PTP=-1", "b4:PTP=10", "b4:PTP=2 "}) {
        EXPECT_EQ(Refusal({"--out", "d", "--log", text.c_str()}), "--log " + text + ": the level is 0 to 9");
    }
}

TEST(NetworkOptions, RunManySeedsWithoutFilesOfOneRun) {
    const std::string refused = "--seeds goes with none of --seed, --capture and --log";

    EXPECT_EQ(Parsed({"--seeds", "3", "--out", "d"}).seeds, 3u);
    EXPECT_EQ(Refusal({"--seeds", "3", "--seed", "1"}), refused);
    EXPECT_EQ(Refusal({"--seeds", "3", "--out", "d", "--capture", "b1.0"}), refused);
    EXPECT_EQ(Refusal({"--seeds", "3", "--out", "d", "--log", "b1:PTP=1"}), refused);
}

}  // namespace
}  // namespace norvad::test
