#include "ptp/grandmaster_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/network/kept_grandmaster_output.h"
#include "tests/support/captured_log.h"

namespace norvad::test {

using network::KeptGrandmasterOutput;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Export : public testing::Test {
protected:
    Export() { best.dataset.grandmasterIdentity = identity; }

    static constexpr ClockIdentity identity{0x00, 0x1B, 0x21, 0xFF, 0xFE, 0x0A, 0x0B, 0x0C};
    BestMaster best{};
    GrandmasterMessage grandmaster;
    KeptGrandmasterOutput::Kept kept;
    KeptGrandmasterOutput output{kept};
    GrandmasterExport exporter{best, grandmaster, output};
};

TEST_F(Export, SelectedGrandmasterIsWrittenAndSent) {
    grandmaster.clockNumber = 7;
    grandmaster.pathCount = 2;

    exporter.SendGrandmasterId();

    EXPECT_THAT(kept.identities, ElementsAre(identity));
    ASSERT_THAT(kept.messages, SizeIs(1));
    EXPECT_EQ(kept.messages[0].clockNumber, 7U);
    EXPECT_EQ(kept.messages[0].fixed, 200U);
    EXPECT_EQ(kept.messages[0].pathCount, 2);
}

TEST_F(Export, BestClockIsWrittenButNotSentBeforeAGrandmasterIsSelected) {
    exporter.SendGrandmasterId();
    EXPECT_THAT(kept.identities, ElementsAre(identity));
    EXPECT_THAT(kept.messages, IsEmpty());
}

TEST_F(Export, IsLoggedAtLevelOne) {
    CapturedLog captured(LogCategory::PTP, 1);
    exporter.SendGrandmasterId();
    EXPECT_EQ(captured.Text(), "[SW-PTP] SendGrandmasterId\n");
}

}  // namespace

}  // namespace norvad::test
