#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "lab/common/errors.h"
#include "lab/virtual_switch/options.h"

namespace norvad::board {
namespace {

using lab::StartError;
using testing::ElementsAre;

Options Parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "norvad3-virtual-switch");
    return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(BoardOptions, DaemonAndItsOwnOptionsStandBehindTheDashes) {
    const auto options = Parse({"--port0", "p0", "--port1", "p1", "--", "./norvad3", "-n", "--quiet", "--", "-h"});

    EXPECT_THAT(options.daemon, ElementsAre("./norvad3", "-n", "--quiet", "--", "-h"));
    EXPECT_FALSE(options.quiet);
    EXPECT_FALSE(options.help);
}

TEST(BoardOptions, WithoutMoreTheBoardIsAPlainGigabitOne) {
    const auto options = Parse({"--port0", "p0", "--port1", "p1", "--", "d"});

    EXPECT_THAT(options.portInterfaces, ElementsAre("p0", "p1"));
    EXPECT_EQ(options.cpuInterface, "eth0");
    EXPECT_FALSE(options.cpuAddress);
    EXPECT_EQ(options.speed, 1000u);
    EXPECT_TRUE(options.stp);
    EXPECT_EQ(options.clockErrorPpb, 0);
    EXPECT_EQ(options.steerExponent, 38u);
    EXPECT_EQ(options.clockWatchMs, 0u);
    EXPECT_FALSE(options.restartMs);
    EXPECT_EQ(options.cutTrailerMask, 0);
}

TEST(BoardOptions, EverythingCanBeSet) {
    const auto options = Parse({"--port0",
                                "p0",
                                "--port1",
                                "p1",
                                "--cpu-interface",
                                "cpu",
                                "--cpu-address",
                                "02:00:00:00:01:00",
                                "--capture",
                                "/tmp/c",
                                "--clock-offset",
                                "-1000000000000",
                                "--clock-error",
                                "-50000",
                                "--clock-steer-exponent",
                                "40",
                                "--clock-watch",
                                "125",
                                "--speed",
                                "100",
                                "--no-stp",
                                "--status-socket",
                                "/tmp/s",
                                "--quiet",
                                "--restart",
                                "0",
                                "--cut-ptp-trailer",
                                "0",
                                "--cut-ptp-trailer",
                                "1",
                                "--",
                                "d"});

    EXPECT_EQ(options.cpuInterface, "cpu");
    EXPECT_EQ(options.cpuAddress, (MacAddress{2, 0, 0, 0, 1, 0}));
    EXPECT_EQ(options.captureDirectory, "/tmp/c");
    EXPECT_EQ(options.clockOffsetNs, -1'000'000'000'000);
    EXPECT_EQ(options.clockErrorPpb, -50'000);
    EXPECT_EQ(options.steerExponent, 40u);
    EXPECT_EQ(options.clockWatchMs, 125u);
    EXPECT_EQ(options.speed, 100u);
    EXPECT_FALSE(options.stp);
    EXPECT_EQ(options.statusSocket, "/tmp/s");
    EXPECT_TRUE(options.quiet);
    EXPECT_EQ(options.restartMs, 0u);
    EXPECT_EQ(options.cutTrailerMask, 0x03);
}

TEST(BoardOptions, HelpAndStatusNeedNothingElse) {
    EXPECT_TRUE(Parse({"--help"}).help);
    EXPECT_EQ(Parse({"--status", "/tmp/s"}).askStatusOf, "/tmp/s");
}

TEST(BoardOptions, WhatMakesNoSenseIsRefused) {
    const std::vector<std::vector<const char*>> refused{
        {},
        {"--port0", "p0", "--", "d"},
        {"--port1", "p1", "--", "d"},
        {"--port0", "p0", "--port1", "p0", "--", "d"},
        {"--port0", "p0", "--port1", "p1"},
        {"--port0", "p0", "--port1", "p1", "--"},
        {"--port0", "p0", "--port1", "p1", "stray", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--foo", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--speed", "10", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--speed", "fast", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--cut-ptp-trailer", "2", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--clock-error", "100000001", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--clock-steer-exponent", "31", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--clock-watch", "3600001", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--restart", "3600001", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--restart", "soon", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--cpu-address", "01:00:00:00:00:00", "--", "d"},
        {"--port0", "p0", "--port1", "p1", "--cpu-interface", "thirteenchars", "--", "d"},
    };
    for (const auto& arguments : refused)
        EXPECT_THROW(Parse(arguments), StartError) << testing::PrintToString(arguments);
}

}  // namespace
}  // namespace norvad::board
