#include "base/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::array allCategories = {LogCategory::SOCKET, LogCategory::MRP, LogCategory::MSRP,
                                      LogCategory::MVRP,   LogCategory::PTP, LogCategory::IOCTL};

TEST(Log, WithAllLevelsZeroOnlyLevelZeroIsWritten) {
    CapturedLog captured;
    for (const LogCategory category : allCategories) {
        log(category, 1, "dropped");
        log(category, 0, "written");
    }

    EXPECT_THAT(captured.Lines(), ElementsAre("written", "written", "written", "written", "written", "written"));
}

TEST(Log, ALevelOpensOnlyItsOwnCategoryUpToItself) {
    const CapturedLog captured(LogCategory::PTP, 3);

    EXPECT_TRUE(IsLogged(LogCategory::PTP, 3));
    EXPECT_FALSE(IsLogged(LogCategory::PTP, 4));
    EXPECT_FALSE(IsLogged(LogCategory::MVRP, 1));
    EXPECT_FALSE(IsLogged(LogCategory::IOCTL, 1));
}

TEST(Log, ANegativeLevelSilencesItsCategory) {
    const CapturedLog captured(LogCategory::MRP, -1);

    EXPECT_FALSE(IsLogged(LogCategory::MRP, 0));
}

TEST(Log, ACategoryPastTheLastIsNeverWritten) {
    CapturedLog captured;
    log(static_cast<LogCategory>(6), 0, "six");
    log(static_cast<LogCategory>(255), -5, "many");

    EXPECT_THAT(captured.Lines(), IsEmpty());
}

// Keeps what it is handed.
struct KeptLog final : LogSink {
    struct Message {
        LogCategory category;
        int32_t level;
        std::string text;
    };
    void Write(LogCategory category, int32_t level, const char* message) override {
        messages.push_back({category, level, message});
    }
    std::vector<Message> messages;
};

TEST(Log, ASinkGetsTheMessageAsItIsWithItsCategoryAndLevel) {
    KeptLog kept;
    LogSink* const before = SetLogSink(&kept);
    log(LogCategory::MVRP, -1, "port %d up\n", 1);
    EXPECT_EQ(SetLogSink(before), &kept);
    log(LogCategory::MVRP, 0, "to another");

    ASSERT_EQ(kept.messages.size(), 1u);
    EXPECT_EQ(kept.messages[0].category, LogCategory::MVRP);
    EXPECT_EQ(kept.messages[0].level, -1);
    EXPECT_EQ(kept.messages[0].text, "port 1 up\n");
}

TEST(Log, WithoutASinkNothingHappens) {
    LogSink* const before = SetLogSink(nullptr);
    log(LogCategory::SOCKET, 0, "nobody hears %s", "it");
    EXPECT_EQ(SetLogSink(before), nullptr);
}

TEST(Log, AMessageIsCutAt511Characters) {
    for (const size_t length : {510u, 511u, 512u, 5000u}) {
        CapturedLog captured;
        log(LogCategory::SOCKET, 0, "%s", std::string(length, 'x').c_str());

        EXPECT_THAT(captured.Lines(), ElementsAre(std::string(std::min<size_t>(length, 511), 'x'))) << length;
    }
}

TEST(Log, PercentSignsInAnArgumentAreNotFormats) {
    CapturedLog captured;
    log(LogCategory::SOCKET, 0, "%s", "100%s %n");

    EXPECT_THAT(captured.Lines(), ElementsAre("100%s %n"));
}

}  // namespace
}  // namespace norvad::test
