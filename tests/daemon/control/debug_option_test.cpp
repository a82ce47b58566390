#include "daemon/control/debug_option.h"

#include <gtest/gtest.h>

#include "base/log.h"

namespace norvad::test {
namespace {

using Levels = std::array<int32_t, logCategoryCount>;

class DebugOption : public testing::Test {
protected:
    ~DebugOption() override { debugLevels = {}; }

    static std::string OutputOf(const DebugTokens& tokens, bool understood = true) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(SetDebugLevel(tokens), understood);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(DebugOption, SetsTheLevelOfItsCategoryAndSaysSo) {
    EXPECT_EQ(OutputOf({"socket", "1"}), "LOG_SOCKET debugLevel = 1\n");
    EXPECT_EQ(OutputOf({"mrp", "2"}), "LOG_MRP debugLevel = 2\n");
    EXPECT_EQ(OutputOf({"msrp", "3"}), "LOG_MSRP debugLevel = 3\n");
    EXPECT_EQ(OutputOf({"mvrp", "4"}), "LOG_MVRP debugLevel = 4\n");
    EXPECT_EQ(OutputOf({"ptp", "5"}), "LOG_PTP debugLevel = 5\n");
    EXPECT_EQ(OutputOf({"ioctl", "6"}), "LOG_IOCTL debugLevel = 6\n");

    EXPECT_EQ(debugLevels, (Levels{1, 2, 3, 4, 5, 6}));
}

TEST_F(DebugOption, TakesTheNameInAnyCase) {
    EXPECT_EQ(OutputOf({"mSrP", "3"}), "LOG_MSRP debugLevel = 3\n");
    EXPECT_EQ(OutputOf({"IOCTL", "2"}), "LOG_IOCTL debugLevel = 2\n");
}

TEST_F(DebugOption, AnUnknownCategoryChangesAndSaysNothing) {
    for (const char* name : {"foo", "", "MR", "MRPX", " MRP"}) EXPECT_EQ(OutputOf({name, "2"}), "") << name;

    EXPECT_EQ(debugLevels, Levels{});
}

TEST_F(DebugOption, OneTokenOrThreeAreNotUnderstood) {
    EXPECT_EQ(OutputOf({}, false), "");
    EXPECT_EQ(OutputOf({"mrp"}, false), "");
    EXPECT_EQ(OutputOf({"mrp", "3", "4"}, false), "");

    EXPECT_EQ(debugLevels, Levels{});
}

TEST_F(DebugOption, ALevelIsTheNumberInFrontOfItsToken) {
    EXPECT_EQ(OutputOf({"ptp", "4x"}), "LOG_PTP debugLevel = 4\n");
    EXPECT_EQ(OutputOf({"ptp", "-1"}), "LOG_PTP debugLevel = -1\n");
    EXPECT_EQ(OutputOf({"ptp", "many"}), "LOG_PTP debugLevel = 0\n");
    EXPECT_EQ(OutputOf({"ptp", "99999999999"}), "LOG_PTP debugLevel = 2147483647\n");
}

}  // namespace
}  // namespace norvad::test
