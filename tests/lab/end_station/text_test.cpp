#include "lab/end_station/text.h"

#include <gtest/gtest.h>

#include "lab/common/ethernet_frame.h"

namespace norvad::station {

TEST(StationText, StreamIdIsReadInBothForms) {
    const StreamID id{0x02, 0x00, 0x00, 0x00, 0x0A, 0x01, 0x12, 0xEF};

    EXPECT_EQ(ParseStreamId("02:00:00:00:0a:01:12:ef"), id);
    EXPECT_EQ(ParseStreamId("02:00:00:00:0A:01:12EF"), id);
}

TEST(StationText, WhatIsNoStreamIdIsRefused) {
    for (const char* text : {"", "02", "02:00:00:00:00:01", "02:00:00:00:00:01:00", "02:00:00:00:00:01:00:0",
                             "02:00:00:00:00:01:00:01:", "02:00:00:00:00:01:00:01:02", "02-00-00-00-00-01-00-01",
                             "02:00:00:00:00:01:00:0g", "0x:00:00:00:00:01:00:01", "+2:00:00:00:00:01:00:01",
                             "02:00:00:00:00:01:0 01", "02:00:00:00:00:01:000g", "020:0:00:00:00:01:00:01"}) {
        EXPECT_EQ(ParseStreamId(text), std::nullopt) << text;
    }
}

TEST(StationText, MacAddressIsReadAndWrittenAlike) {
    const auto address = lab::ParseAddress("91:E0:f0:00:01:00");

    ASSERT_TRUE(address);
    EXPECT_EQ(HexText(*address), "91:e0:f0:00:01:00");
    EXPECT_EQ(lab::ParseAddress("91:e0:f0:00:01"), std::nullopt);
    EXPECT_EQ(lab::ParseAddress("91:e0:f0:00:01:00:00"), std::nullopt);
}

TEST(StationText, DeclarationsAreTheThreeThatAListenerMayChoose) {
    EXPECT_EQ(ParseDeclaration("asking-failed"), ListenerDeclaration::ASKING_FAILED);
    EXPECT_EQ(ParseDeclaration("ready"), ListenerDeclaration::READY);
    EXPECT_EQ(ParseDeclaration("ready-failed"), ListenerDeclaration::READY_FAILED);
    EXPECT_EQ(ParseDeclaration("ignore"), std::nullopt);
    EXPECT_EQ(ParseDeclaration("Ready"), std::nullopt);
}

TEST(StationText, EveryFailureCodeHasAText) {
    EXPECT_STREQ(FailureText(8), "Egress port is not AVB capable");
    EXPECT_STREQ(FailureText(19), "SR class priority mismatch");
    EXPECT_STREQ(FailureText(20), "Unknown");
    EXPECT_STREQ(FailureText(255), "Unknown");
}

}  // namespace norvad::station
