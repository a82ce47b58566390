#include "daemon/standard_streams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/support/isolated_process.h"

namespace norvad::test {
namespace {

// Writes on standard output until it takes no more; the error.
int FillStandardOutput() {
    const std::string line(100, 'x');
    while (write(STDOUT_FILENO, line.data(), line.size()) > 0) continue;
    return errno;
}

TEST(StandardStreams, OfAReaderThatHasStoppedRefuseWhatTheyCannotTake) {
    const IsolatedOutcome outcome = RunIsolated([] {
        int ends[2];
        if (pipe(ends) != 0) return 1;
        dup2(ends[1], STDOUT_FILENO);
        DetachFromReaders();
        std::fprintf(stderr, "%s, others %s", FillStandardOutput() == EAGAIN ? "refused" : "failed",
                     (fcntl(ends[1], F_GETFL) & O_NONBLOCK) != 0 ? "too" : "not");
        return 0;
    });

    EXPECT_EQ(outcome.standardError, "refused, others not");
}

TEST(StandardStreams, OfATerminalThatShowsNothingRefuseWhatTheyCannotTake) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) return 1;
        const int shown = open(ptsname(terminal), O_RDWR | O_NOCTTY);
        dup2(shown, STDOUT_FILENO);
        DetachFromReaders();
        std::fprintf(stderr, "%s, others %s", FillStandardOutput() == EAGAIN ? "refused" : "failed",
                     (fcntl(shown, F_GETFL) & O_NONBLOCK) != 0 ? "too" : "not");
        return 0;
    });

    EXPECT_EQ(outcome.standardError, "refused, others not");
}

TEST(StandardStreams, OfAServiceManagerThatHasStoppedRefuseWhatTheyCannotTake) {
    const IsolatedOutcome outcome = RunIsolated([] {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return 1;
        dup2(ends[1], STDOUT_FILENO);
        DetachFromReaders();
        return FillStandardOutput() == EAGAIN ? 7 : 1;
    });

    EXPECT_EQ(outcome.status, 7);
}

TEST(StandardStreams, OfAReaderThatIsGoneAreBrokenAndNoMore) {
    const IsolatedOutcome outcome = RunIsolated([] {
        int ends[2];
        if (pipe(ends) != 0) return 1;
        dup2(ends[1], STDOUT_FILENO);
        DetachFromReaders();
        close(ends[0]);
        return FillStandardOutput() == EPIPE ? 7 : 1;
    });

    EXPECT_EQ(outcome.status, 7);
}

TEST(StandardStreams, ThatAreFilesStayAsTheyAre) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const int file = open("/tmp/log", O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        DetachFromReaders();
        std::printf("%d\n", fcntl(STDOUT_FILENO, F_GETFL) & (O_APPEND | O_NONBLOCK));
        std::fflush(stdout);
        std::fprintf(stderr, "both\n");
        return 0;
    });

    EXPECT_EQ(outcome.files.at("log"), std::to_string(O_APPEND) + "\nboth\n");
}

}  // namespace
}  // namespace norvad::test
