#include "daemon/daemon_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "base/log.h"

namespace norvad::test {
namespace {

constexpr const char* listing =
    "Supported daemon options:\n"
    "  -h [ --help ]                  show help\n"
    "  -i [ --interface ] arg (=eth0) select interface\n"
    "  -y [ --priority1 ] arg (=250)  set PTP priority1 level\n"
    "  -g [ --nogm ]                  don't allow the local PTP to become GM\n"
    "  -d [ --debug ] arg             set debug level for SOCKET | MRP | MSRP | MVRP\n"
    "                                 | PTP | IOCTL to <n>\n"
    "  -f [ --logfile ] arg           log to file\n"
    "  -n [ --nodaemon ]              don't daemonize\n"
    "\n";

class Options : public testing::Test {
protected:
    ~Options() override { debugLevels = {}; }

    // Whether the daemon is to start.
    bool Parse(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "norvad3");
        testing::internal::CaptureStdout();
        const bool start = ParseOptions(static_cast<int>(arguments.size()), arguments.data(), options, settings);
        output = testing::internal::GetCapturedStdout();
        return start;
    }

    static std::string TemporaryPath() {
        return testing::TempDir() + "norvad-options-" + std::to_string(getpid()) + ".pid";
    }

    DaemonOptions options{TemporaryPath()};
    PtpSettings settings{.ptpPriority1 = 1, .ptpNoGM = true};
    std::string output;
};

TEST_F(Options, WithoutAnyTheDefaultsHold) {
    EXPECT_TRUE(Parse({}));

    EXPECT_EQ(options.interface, "eth0");
    EXPECT_FALSE(options.nodaemon);
    EXPECT_EQ(options.logfile, "");
    EXPECT_EQ(settings.ptpPriority1, 250u);
    EXPECT_FALSE(settings.ptpNoGM);
    EXPECT_EQ(output, "");
}

TEST_F(Options, LongNamesAreUnderstood) {
    EXPECT_TRUE(Parse({"--interface", "sw0", "--priority1=100", "--nogm", "--logfile", "/tmp/log", "--nodaemon"}));

    EXPECT_EQ(options.interface, "sw0");
    EXPECT_TRUE(options.nodaemon);
    EXPECT_EQ(options.logfile, "/tmp/log");
    EXPECT_EQ(settings.ptpPriority1, 100u);
    EXPECT_TRUE(settings.ptpNoGM);
}

TEST_F(Options, ShortNamesAreUnderstood) {
    EXPECT_TRUE(Parse({"-i", "sw0", "-y100", "-gn", "-f", "/tmp/log"}));

    EXPECT_EQ(options.interface, "sw0");
    EXPECT_TRUE(options.nodaemon);
    EXPECT_EQ(options.logfile, "/tmp/log");
    EXPECT_EQ(settings.ptpPriority1, 100u);
    EXPECT_TRUE(settings.ptpNoGM);
}

TEST_F(Options, HelpPrintsTheListingAndStops) {
    EXPECT_FALSE(Parse({"-h"}));

    EXPECT_EQ(output, listing);
}

TEST_F(Options, HelpLeavesEverythingElseAlone) {
    EXPECT_FALSE(Parse({"-h", "-d", "mrp", "3", "-i", "sw0"}));

    EXPECT_EQ(options.interface, "eth0");
    EXPECT_EQ(debugLevels[1], 0);
}

TEST_F(Options, DebugTakesACategoryAndALevel) {
    EXPECT_TRUE(Parse({"-d", "mrp", "3", "-n"}));

    EXPECT_EQ(debugLevels[1], 3);
    EXPECT_EQ(output, "LOG_MRP debugLevel = 3\n");
    EXPECT_TRUE(options.nodaemon);
}

TEST_F(Options, DebugWithOneTokenPrintsTheListingAndGoesOn) {
    EXPECT_TRUE(Parse({"-d", "mrp"}));

    EXPECT_EQ(output, listing);
    EXPECT_EQ(debugLevels[1], 0);
}

TEST_F(Options, DebugOfAnUnknownCategoryChangesAndPrintsNothing) {
    EXPECT_TRUE(Parse({"-d", "foo", "2"}));

    EXPECT_EQ(output, "");
    EXPECT_EQ(debugLevels, (std::array<int32_t, logCategoryCount>{}));
}

TEST_F(Options, WhatIsNotUnderstoodIsThrown) {
    EXPECT_THROW(Parse({"--foo"}), std::exception);
    (void)testing::internal::GetCapturedStdout();
    EXPECT_THROW(Parse({"-y", "many"}), std::exception);
    (void)testing::internal::GetCapturedStdout();
    EXPECT_THROW(Parse({"-i"}), std::exception);
    (void)testing::internal::GetCapturedStdout();
}

// A value with one of the parser's own marks once kept it busy for ever.
TEST_F(Options, AValueThatHoldsAMarkOfTheParsersTextsIsRefusedInItsOwnSpelling) {
    try {
        Parse({"-y", "%value%"});
        FAIL() << "nothing was thrown";
    } catch (const std::exception& failure) {
        testing::internal::GetCapturedStdout();
        EXPECT_THAT(failure.what(), testing::HasSubstr("'%value%'"));
    }
}

TEST_F(Options, NamesKeepTheirPercentSigns) {
    EXPECT_TRUE(Parse({"-i", "eth%d", "-f", "/tmp/%value%"}));

    EXPECT_EQ(options.interface, "eth%d");
    EXPECT_EQ(options.logfile, "/tmp/%value%");
}

TEST_F(Options, TheRecordTakesThePidFileWithIt) {
    const std::string path = TemporaryPath() + ".other";
    {
        const DaemonOptions owner(path);
        std::ofstream(path) << 1;
        ASSERT_TRUE(std::filesystem::exists(path));
    }

    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(Options, TheRecordGoesQuietlyWithoutAPidFile) {
    const std::string path = TemporaryPath() + ".none";
    { const DaemonOptions owner(path); }

    EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace norvad::test
