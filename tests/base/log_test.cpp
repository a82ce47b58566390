#include "base/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <string>

#include "tests/support/captured_syslog.h"

namespace norvad::test {
namespace {

constexpr size_t stampLength = 13;  // "14:03:27:058 "

constexpr std::array allCategories = {LogCategory::SOCKET, LogCategory::MRP, LogCategory::MSRP,
                                      LogCategory::MVRP,   LogCategory::PTP, LogCategory::IOCTL};

class Log : public testing::Test {
protected:
    Log() { CapturedSyslog().clear(); }
    ~Log() override { debugLevels = {}; }

    static std::string StandardOutputOf(const std::string& message) {
        testing::internal::CaptureStdout();
        log(LogCategory::SOCKET, 0, "%s", message.c_str());
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(Log, WithAllLevelsZeroOnlyLevelZeroIsWritten) {
    testing::internal::CaptureStdout();
    for (const LogCategory category : allCategories) {
        log(category, 1, "dropped");
        log(category, 0, "written");
    }
    std::fflush(stdout);
    const std::string output = testing::internal::GetCapturedStdout();

    EXPECT_THAT(output, testing::Not(testing::HasSubstr("dropped")));
    ASSERT_EQ(CapturedSyslog().size(), allCategories.size());
    for (const SyslogMessage& message : CapturedSyslog()) EXPECT_EQ(message.text, "written");
}

TEST_F(Log, ALevelOpensOnlyItsOwnCategoryUpToItself) {
    debugLevels[static_cast<size_t>(LogCategory::PTP)] = 3;

    EXPECT_TRUE(IsLogged(LogCategory::PTP, 3));
    EXPECT_FALSE(IsLogged(LogCategory::PTP, 4));
    EXPECT_FALSE(IsLogged(LogCategory::MVRP, 1));
    EXPECT_FALSE(IsLogged(LogCategory::IOCTL, 1));
}

TEST_F(Log, ANegativeLevelSilencesItsCategory) {
    debugLevels[static_cast<size_t>(LogCategory::MRP)] = -1;

    EXPECT_FALSE(IsLogged(LogCategory::MRP, 0));
}

TEST_F(Log, ACategoryPastTheLastIsNeverWritten) {
    testing::internal::CaptureStdout();
    log(static_cast<LogCategory>(6), 0, "six");
    log(static_cast<LogCategory>(255), -5, "many");
    std::fflush(stdout);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(CapturedSyslog().empty());
}

TEST_F(Log, ALineCarriesTheTimeOfDayWithMilliseconds) {
    EXPECT_THAT(StandardOutputOf("[norvad] Got SIGTERM"),
                testing::MatchesRegex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9]:[0-9][0-9][0-9] \\[norvad\\] Got SIGTERM\n"));
}

TEST_F(Log, TheSystemLogGetsTheMessageAloneAtInformationalPriority) {
    StandardOutputOf("[norvad] Got SIGTERM");
    StandardOutputOf("port 1 up\n");

    ASSERT_EQ(CapturedSyslog().size(), 2u);
    EXPECT_EQ(CapturedSyslog()[0].priority, LOG_INFO);
    EXPECT_EQ(CapturedSyslog()[0].text, "[norvad] Got SIGTERM");
    EXPECT_EQ(CapturedSyslog()[1].text, "port 1 up\n");
}

TEST_F(Log, AMessageThatEndsInANewlineGetsNoSecondOne) {
    const std::string output = StandardOutputOf("port 1 up\n");

    EXPECT_EQ(output.substr(stampLength), "port 1 up\n");
}

TEST_F(Log, AnEmptyMessageIsAStampAndANewline) {
    const std::string output = StandardOutputOf("");

    EXPECT_EQ(output.size(), stampLength + 1);
    EXPECT_EQ(output.back(), '\n');
}

TEST_F(Log, ALineOf509CharactersStillGetsItsNewline) {
    const std::string output = StandardOutputOf(std::string(509 - stampLength, 'x'));

    EXPECT_EQ(output.size(), 510u);
    EXPECT_EQ(output.back(), '\n');
}

TEST_F(Log, ALineThatReaches510CharactersGetsNoNewline) {
    const std::string output = StandardOutputOf(std::string(510 - stampLength, 'x'));

    EXPECT_EQ(output.size(), 510u);
    EXPECT_EQ(output.back(), 'x');
}

TEST_F(Log, ALongLineIsCutAt511CharactersAndGetsNoNewline) {
    for (const size_t length : {511u, 512u, 600u, 5000u}) {
        const std::string output = StandardOutputOf(std::string(length - stampLength, 'x'));

        EXPECT_EQ(output.size(), 511u);
        EXPECT_EQ(output.back(), 'x');
    }
}

TEST_F(Log, TheSystemLogGets511CharactersOfALongMessage) {
    StandardOutputOf(std::string(600, 'x'));

    EXPECT_EQ(CapturedSyslog().at(0).text, std::string(511, 'x'));
}

TEST_F(Log, PercentSignsInAnArgumentAreNotFormats) {
    EXPECT_EQ(StandardOutputOf("100%s %n").substr(stampLength), "100%s %n\n");
    EXPECT_EQ(CapturedSyslog().at(0).text, "100%s %n");
}

}  // namespace
}  // namespace norvad::test
