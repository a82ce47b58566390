#include "daemon/standard_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {
namespace {

constexpr size_t stampLength = 13;  // "14:03:27:058 "

class StandardLogTest : public testing::Test {
protected:
    StandardLogTest() { CapturedSyslog().clear(); }

    std::string StandardOutputOf(const std::string& message) {
        testing::internal::CaptureStdout();
        log(LogCategory::SOCKET, 0, "%s", message.c_str());
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    SteppedClock clock{1'700'000'000'058'999'000};
    StandardLog standard{clock};
};

TEST_F(StandardLogTest, ALineCarriesTheTimeOfDayWithMilliseconds) {
    EXPECT_THAT(StandardOutputOf("[norvad] Got SIGTERM"),
                testing::MatchesRegex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9]:[0-9][0-9][0-9] \\[norvad\\] Got SIGTERM\n"));
}

TEST_F(StandardLogTest, TheSystemLogGetsTheMessageAloneAtInformationalPriority) {
    StandardOutputOf("[norvad] Got SIGTERM");
    StandardOutputOf("port 1 up\n");

    ASSERT_EQ(CapturedSyslog().size(), 2u);
    EXPECT_EQ(CapturedSyslog()[0].priority, LOG_INFO);
    EXPECT_EQ(CapturedSyslog()[0].text, "[norvad] Got SIGTERM");
    EXPECT_EQ(CapturedSyslog()[1].text, "port 1 up\n");
}

TEST_F(StandardLogTest, AMessageThatEndsInANewlineGetsNoSecondOne) {
    const std::string output = StandardOutputOf("port 1 up\n");

    EXPECT_EQ(output.substr(stampLength), "port 1 up\n");
}

TEST_F(StandardLogTest, AnEmptyMessageIsAStampAndANewline) {
    const std::string output = StandardOutputOf("");

    EXPECT_EQ(output.size(), stampLength + 1);
    EXPECT_EQ(output.back(), '\n');
}

TEST_F(StandardLogTest, ALineOf509CharactersStillGetsItsNewline) {
    const std::string output = StandardOutputOf(std::string(509 - stampLength, 'x'));

    EXPECT_EQ(output.size(), 510u);
    EXPECT_EQ(output.back(), '\n');
}

TEST_F(StandardLogTest, ALineThatReaches510CharactersGetsNoNewline) {
    const std::string output = StandardOutputOf(std::string(510 - stampLength, 'x'));

    EXPECT_EQ(output.size(), 510u);
    EXPECT_EQ(output.back(), 'x');
}

TEST_F(StandardLogTest, ALongLineIsCutAt511CharactersAndGetsNoNewline) {
    for (const size_t length : {511u, 512u, 600u, 5000u}) {
        const std::string output = StandardOutputOf(std::string(length - stampLength, 'x'));

        EXPECT_EQ(output.size(), 511u);
        EXPECT_EQ(output.back(), 'x');
    }
}

TEST_F(StandardLogTest, TheSystemLogGets511CharactersOfALongMessage) {
    StandardOutputOf(std::string(600, 'x'));

    EXPECT_EQ(CapturedSyslog().at(0).text, std::string(511, 'x'));
}

TEST_F(StandardLogTest, PercentSignsInAnArgumentAreNotFormats) {
    EXPECT_EQ(StandardOutputOf("100%s %n").substr(stampLength), "100%s %n\n");
    EXPECT_EQ(CapturedSyslog().at(0).text, "100%s %n");
}

TEST_F(StandardLogTest, TheStampIsTheClocksTimeOfDayInWholeMilliseconds) {
    EXPECT_THAT(StandardOutputOf("up"), testing::MatchesRegex("[0-2][0-9]:[0-5][0-9]:20:058 up\n"));
    clock.AdvanceMs(3'942);
    EXPECT_THAT(StandardOutputOf("up"), testing::MatchesRegex("[0-2][0-9]:[0-5][0-9]:24:000 up\n"));
}

// Standard output is a full pipe whose reader does nothing but what the test lets it.
class StoppedReader : public StandardLogTest {
protected:
    StoppedReader() {
        std::fflush(stdout);
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
        reader = FileDescriptor(ends[0]);
        before = FileDescriptor(dup(STDOUT_FILENO));
        capacity = static_cast<size_t>(fcntl(ends[1], F_SETPIPE_SZ, 2 * 4096));
        const std::vector<char> filling(capacity, '.');
        (void)!write(ends[1], filling.data(), filling.size());
        dup2(ends[1], STDOUT_FILENO);
        close(ends[1]);
    }
    ~StoppedReader() override { dup2(before.Get(), STDOUT_FILENO); }

    std::string Read(size_t length) const {
        std::string text(length, ' ');
        const ssize_t got = read(reader.Get(), text.data(), length);
        text.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
        return text;
    }
    static void Log(const char* message) { log(LogCategory::SOCKET, 0, "%s", message); }

    FileDescriptor reader, before;
    size_t capacity = 0;
};

TEST_F(StoppedReader, CostsLinesAndTheirNumberIsSaidWhenItReadsAgain) {
    for (int n = 0; n < 3; ++n) Log("lost");
    Read(capacity);

    Log("kept");
    Log("kept too");

    const std::string text = Read(capacity);
    EXPECT_THAT(text, testing::MatchesRegex("[0-9:]+ \\[norvad\\] standard output was not read: 3 lines dropped\n"
                                            "[0-9:]+ kept\n[0-9:]+ kept too\n"));
    EXPECT_EQ(CapturedSyslog().size(), 5u) << "the system log misses nothing";
}

TEST_F(StoppedReader, ThatIsGoneCostsLinesOnly) {
    std::signal(SIGPIPE, SIG_IGN);
    reader.Close();

    Log("lost");

    std::signal(SIGPIPE, SIG_DFL);
    EXPECT_EQ(CapturedSyslog().size(), 1u);
}

TEST_F(StandardLogTest, LinesGoWhereTheyWentBeforeWhenItIsGone) {
    {
        const StandardLog inner(clock);
        EXPECT_NE(StandardOutputOf("inner"), "");
    }
    EXPECT_NE(StandardOutputOf("outer"), "");
    ASSERT_EQ(CapturedSyslog().size(), 2u);
}

}  // namespace
}  // namespace norvad::test
