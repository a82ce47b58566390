#include "lab/end_station/options.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace norvad::station {

namespace {

Options Parsed(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), {"norvad3-end-station", "--interface", "eth9"});
    return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

std::string Refusal(const std::vector<const char*>& arguments) {
    try {
        Parsed(arguments);
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

}  // namespace

TEST(StationOptions, DefaultsAreOneClassAStreamsValues) {
    const auto options = Parsed({"--talk", "02:00:00:00:00:01:00:01"});

    EXPECT_EQ(options.interface, "eth9");
    EXPECT_EQ(options.name, "station");
    EXPECT_FALSE(options.durationSeconds);
    ASSERT_EQ(options.station.talkers.size(), 1u);
    const auto& talker = options.station.talkers[0];
    EXPECT_EQ(talker.destination, (MacAddress{0x91, 0xE0, 0xF0, 0x00, 0x01, 0x00}));
    EXPECT_EQ(talker.tag, (VlanTag{2, 3}));
    EXPECT_EQ(talker.maxFrameSize, 100);
    EXPECT_EQ(talker.intervalFrames, 1);
    EXPECT_FALSE(options.station.eager);
    EXPECT_TRUE(options.station.peerDelay.answer);
    EXPECT_FALSE(options.station.peerDelay.measure);
}

TEST(StationOptions, FurtherTalkersHaveTheNextDestinations) {
    const auto options = Parsed({"--talk", "02:00:00:00:00:01:00:01", "--talk", "02:00:00:00:00:01:00:02",
                                 "--destination", "91:e0:f0:00:01:ff"});

    ASSERT_EQ(options.station.talkers.size(), 2u);
    EXPECT_EQ(options.station.talkers[1].id[7], 2);
    EXPECT_EQ(options.station.talkers[1].destination, (MacAddress{0x91, 0xE0, 0xF0, 0x00, 0x02, 0x00}));
}

TEST(StationOptions, EverythingElseIsTakenAsGiven) {
    const auto options = Parsed({"--name",        "L",
                                 "--listen",      "02:00:00:00:00:01:0001",
                                 "--declare",     "asking-failed",
                                 "--vlan",        "7",
                                 "--vlan",        "4094",
                                 "--duration",    "2.5",
                                 "--no-pdelay",   "--eager",
                                 "--hold",        "--measure-delay",
                                 "--rate",        "8000",
                                 "--vlan-frames", "1",
                                 "--vlan-frames", "10"});

    EXPECT_EQ(options.name, "L");
    ASSERT_EQ(options.station.listeners.size(), 1u);
    EXPECT_EQ(options.station.listeners[0].declaration, ListenerDeclaration::ASKING_FAILED);
    EXPECT_EQ(options.station.vlans, (std::vector<uint16_t>{7, 4094}));
    EXPECT_EQ(options.station.vlanFrames, (std::vector<uint16_t>{1, 10}));
    EXPECT_EQ(options.durationSeconds, 2.5);
    EXPECT_FALSE(options.station.peerDelay.answer);
    EXPECT_TRUE(options.station.peerDelay.measure);
    EXPECT_TRUE(options.station.eager);
    EXPECT_TRUE(options.station.hold);
    EXPECT_EQ(options.station.framesPerSecond, 8000u);
}

TEST(StationOptions, WhatMakesNoSenseIsRefusedByName) {
    EXPECT_EQ(Refusal({"--talk", "02:00"}), "--talk 02:00: a stream id reads like 02:00:00:00:00:01:00:01");
    EXPECT_EQ(Refusal({"--listen", "x"}), "--listen x: a stream id reads like 02:00:00:00:00:01:00:01");
    EXPECT_EQ(Refusal({"--destination", "91"}), "--destination 91: an address reads like 91:e0:f0:00:01:00");
    EXPECT_EQ(Refusal({"--declare", "yes"}), "--declare yes: ready, asking-failed and ready-failed are possible");
    EXPECT_EQ(Refusal({"--vid", "4096"}), "--vid 4096: 0 to 4095 are possible");
    EXPECT_EQ(Refusal({"--priority", "8"}), "--priority 8: 0 to 7 are possible");
    EXPECT_EQ(Refusal({"--max-frame-size", "65536"}), "--max-frame-size 65536: 0 to 65535 are possible");
    EXPECT_EQ(Refusal({"--interval-frames", "-1"}), "--interval-frames -1: 0 to 65535 are possible");
    EXPECT_EQ(Refusal({"--rate", "0"}), "--rate 0: 1 to 1000000 are possible");
    EXPECT_EQ(Refusal({"--vlan", "0"}), "--vlan 0: 1 to 4094 are possible");
    EXPECT_EQ(Refusal({"--vlan", "4095"}), "--vlan 4095: 1 to 4094 are possible");
    EXPECT_EQ(Refusal({"--vlan-frames", "0"}), "--vlan-frames 0: 1 to 4094 are possible");
    EXPECT_EQ(Refusal({"--vlan-frames", "4095"}), "--vlan-frames 4095: 1 to 4094 are possible");
    EXPECT_EQ(Refusal({"--duration", "0"}), "--duration has to be above 0");
    EXPECT_EQ(Refusal({"--duration", "nan"}), "--duration has to be above 0");
    EXPECT_NE(Refusal({"--no-such-option"}), "");
    EXPECT_NE(Refusal({"stray"}), "");
}

TEST(StationOptions, InterfaceHasToBeNamed) {
    const std::vector<const char*> arguments{"norvad3-end-station"};

    EXPECT_THROW(ParseOptions(1, arguments.data()), std::runtime_error);
}

TEST(StationOptions, HelpNeedsNoInterface) {
    const std::vector<const char*> arguments{"norvad3-end-station", "--help"};

    EXPECT_TRUE(ParseOptions(2, arguments.data()).help);
    EXPECT_NE(HelpText().find("--interval-frames"), std::string::npos);
}

}  // namespace norvad::station
