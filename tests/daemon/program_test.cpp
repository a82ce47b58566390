#include "daemon/program.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "base/control_message.h"
#include "daemon/daemon_options.h"
#include "daemon/pid_file.h"
#include "tests/support/isolated_process.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr const char* banner =
    "-------------------------------\n"
    " norvad3 (0.0.3) started\n"
    "-------------------------------\n";

int Start(std::vector<const char*> arguments, const DaemonRun& run) {
    arguments.insert(arguments.begin(), "norvad3");
    return RunProgram(static_cast<int>(arguments.size()), arguments.data(), run);
}

std::string FileContent(const char* path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void PutFile(const char* path, const std::string& content) {
    std::ofstream(path) << content;
}

void SayThatItRuns(const DaemonOptions&, const PtpSettings&) {
    std::printf("running\n");
}

// From now on this process, and what it forks, can fork no more.
void ForbidForking() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NPROC, &none);
}

// The limit does not hold for root.
void BecomeAnOrdinaryUser() {
    (void)!setresuid(65534, 65534, 65534);
}

TEST(Program, HelpIsPrintedWithoutBannerForkOrDaemon) {
    const IsolatedOutcome outcome = RunIsolated([] { return Start({"-h"}, SayThatItRuns); });

    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.heirs, IsEmpty());
    EXPECT_THAT(outcome.standardOutput, StartsWith("Supported daemon options:\n"));
    EXPECT_THAT(outcome.standardOutput, Not(HasSubstr("started")));
    EXPECT_THAT(outcome.standardOutput, Not(HasSubstr("running")));
    EXPECT_THAT(outcome.syslog, IsEmpty());
}

TEST(Program, WithNodaemonItStaysInTheForegroundWithoutAPidFile) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const pid_t started = getpid();
        return Start({"-n"}, [started](const DaemonOptions&, const PtpSettings&) {
            std::printf("%s, %s\n", getpid() == started ? "same process" : "forked",
                        access(pidFilePath, F_OK) == 0 ? "PID file" : "no PID file");
        });
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.heirs, IsEmpty());
    EXPECT_EQ(outcome.standardOutput, std::string(banner) + "same process, no PID file\n");
    EXPECT_THAT(outcome.syslog,
                ElementsAre("<6>norvad3 daemon version 0.0.3 starting up", "<6>Daemon started", "<6>Daemon stopped"));
}

TEST(Program, WithNodaemonItStillRemovesThePidFile) {
    const IsolatedOutcome outcome = RunIsolated(
        [] { return Start({"-n"}, [](const DaemonOptions&, const PtpSettings&) { PutFile(pidFilePath, "1"); }); });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.files, IsEmpty());
}

TEST(Program, HandsItsOptionsOn) {
    const IsolatedOutcome outcome = RunIsolated([] {
        return Start({"-n", "-i", "sw0", "-y", "100", "-g"}, [](const DaemonOptions& options, const PtpSettings& ptp) {
            std::printf("%s %u %d\n", options.interface.c_str(), ptp.ptpPriority1, ptp.ptpNoGM);
        });
    });

    EXPECT_THAT(outcome.standardOutput, HasSubstr("sw0 100 1\n"));
}

TEST(Program, DetachesByADoubleFork) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const pid_t session = getsid(0);
        return Start({}, [session](const DaemonOptions&, const PtpSettings&) {
            char directory[64] = "";
            const bool named = FileContent(pidFilePath) == std::to_string(getpid());
            std::printf("%s, %s, in %s, %s, input %s\n", getsid(0) == session ? "same session" : "own session",
                        getsid(0) == getpid() ? "leader" : "no leader", getcwd(directory, sizeof directory),
                        named ? "named in the PID file" : "unnamed", fcntl(0, F_GETFD) < 0 ? "closed" : "open");
        });
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.heirs, ElementsAre(0, 0));
    EXPECT_EQ(outcome.standardOutput,
              std::string(banner) + "own session, no leader, in /, named in the PID file, input closed\n");
    EXPECT_THAT(outcome.files, IsEmpty());
    EXPECT_THAT(outcome.syslog,
                ElementsAre("<6>norvad3 daemon version 0.0.3 starting up", "<6>Daemon started", "<6>Daemon stopped"));
}

TEST(Program, ALogFileTakesStandardOutputAndErrorAtItsEnd) {
    const IsolatedOutcome outcome = RunIsolated([] {
        PutFile("/tmp/log", "before\n");
        return Start({"-f", "/tmp/log"}, [](const DaemonOptions&, const PtpSettings&) {
            char input[64] = "";
            (void)!readlink("/proc/self/fd/0", input, sizeof input - 1);
            std::printf("output, input is %s\n", input);
            std::fprintf(stderr, "error\n");
        });
    });

    EXPECT_THAT(outcome.heirs, ElementsAre(0, 0));
    EXPECT_EQ(outcome.standardOutput, banner);
    EXPECT_EQ(outcome.files.at("log"), "before\noutput, input is /dev/null\nerror\n");
}

TEST(Program, AMissingLogFileIsMadeReadableToAll) {
    const IsolatedOutcome outcome = RunIsolated([] {
        umask(0);
        return Start({"-f", "/tmp/log"}, [](const DaemonOptions&, const PtpSettings&) {
            struct stat status {};
            stat("/tmp/log", &status);
            std::printf("%o\n", status.st_mode & 07777u);
        });
    });

    EXPECT_EQ(outcome.files.at("log"), "644\n");
}

TEST(Program, TheLogFileIsCurrentLineByLine) {
    const IsolatedOutcome outcome = RunIsolated([] {
        return Start({"-f", "/tmp/log"}, [](const DaemonOptions&, const PtpSettings&) {
            std::printf("a line\n");
            PutFile("/tmp/copy", FileContent("/tmp/log"));
        });
    });

    EXPECT_EQ(outcome.files.at("copy"), "a line\n");
}

TEST(Program, ALogFileThatCannotBeOpenedEndsIt) {
    const IsolatedOutcome outcome = RunIsolated([] { return Start({"-f", "/nonexistent/log"}, SayThatItRuns); });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.heirs, UnorderedElementsAre(0, 1));
    EXPECT_EQ(outcome.standardOutput, banner);
    EXPECT_THAT(outcome.syslog,
                ElementsAre("<6>norvad3 daemon version 0.0.3 starting up",
                            "<3>Unable to open output file /nonexistent/log: No such file or directory"));
    EXPECT_THAT(outcome.files, IsEmpty());
}

TEST(Program, AFailedFirstForkEndsIt) {
    const IsolatedOutcome outcome = RunIsolated([] {
        BecomeAnOrdinaryUser();
        ForbidForking();
        return Start({}, SayThatItRuns);
    });

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.standardOutput, banner);
    EXPECT_THAT(outcome.syslog, ElementsAre("<6>norvad3 daemon version 0.0.3 starting up",
                                            "<3>First fork failed: Resource temporarily unavailable"));
}

TEST(Program, AFailedSecondForkEndsIt) {
    const IsolatedOutcome outcome = RunIsolated([] {
        BecomeAnOrdinaryUser();
        pthread_atfork(nullptr, nullptr, ForbidForking);
        return Start({}, SayThatItRuns);
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.heirs, ElementsAre(1));
    EXPECT_EQ(outcome.standardOutput, banner);
    EXPECT_THAT(outcome.syslog, ElementsAre("<6>norvad3 daemon version 0.0.3 starting up",
                                            "<3>Second fork failed: Resource temporarily unavailable"));
}

TEST(Program, DebugWithOneWordPrintsTheListingAndStartsTheDaemon) {
    const IsolatedOutcome outcome = RunIsolated([] { return Start({"-n", "-d", "mrp"}, SayThatItRuns); });

    EXPECT_THAT(outcome.standardOutput, StartsWith("Supported daemon options:\n"));
    EXPECT_THAT(outcome.standardOutput, HasSubstr(std::string(banner) + "running\n"));
}

TEST(Program, AnExceptionIsReportedAndEndsItWithZero) {
    const IsolatedOutcome outcome = RunIsolated([] {
        return Start({"-n"}, [](const DaemonOptions&, const PtpSettings&) {
            PutFile(pidFilePath, "1");
            throw std::runtime_error("unable to open socket");
        });
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.standardError, "Exception: unable to open socket\n");
    EXPECT_THAT(outcome.syslog, ElementsAre("<6>norvad3 daemon version 0.0.3 starting up", "<6>Daemon started",
                                            "<3>Exception: unable to open socket"));
    EXPECT_THAT(outcome.files, IsEmpty());
}

TEST(Program, AnOptionThatIsNotUnderstoodIsReportedAsAnException) {
    const IsolatedOutcome outcome = RunIsolated([] { return Start({"--foo"}, SayThatItRuns); });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.standardError, "Exception: unrecognised option '--foo'\n");
    EXPECT_EQ(outcome.standardOutput, "");
}

TEST(Program, ThePidFileOfADeadProcessIsRemovedAndTheDaemonStarts) {
    const IsolatedOutcome outcome = RunIsolated([] {
        PutFile(pidFilePath, "4000000");
        return Start({"-n"}, SayThatItRuns);
    });

    EXPECT_EQ(outcome.standardOutput, std::string(banner) + "running\n");
    EXPECT_EQ(outcome.syslog.at(0), "<11>Process 4000000 died: No such process; removing PID file. (/tmp/norvad.pid)");
    EXPECT_THAT(outcome.files, IsEmpty());
}

TEST(Program, TheRequestQueueOfADeadDaemonIsRemoved) {
    const IsolatedOutcome outcome = RunIsolated([] {
        mq_open(requestQueueName, O_RDWR | O_CREAT, 0666, nullptr);
        return Start({"-n"}, [](const DaemonOptions&, const PtpSettings&) {
            if (mq_open(requestQueueName, O_RDWR) < 0) std::printf("%s\n", std::strerror(errno));
        });
    });

    EXPECT_EQ(outcome.standardOutput, std::string(banner) + "No such file or directory\n");
}

TEST(Program, WithALiveDaemonAndNoOptionNothingIsSaid) {
    const IsolatedOutcome outcome = RunIsolated([] {
        PutFile(pidFilePath, "1");
        return Start({}, SayThatItRuns);
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.standardOutput + outcome.standardError, "");
    EXPECT_EQ(outcome.files.at("norvad.pid"), "1");
}

TEST(Program, WithALiveDaemonItIsTheClientWhateverComesOfIt) {
    const IsolatedOutcome outcome = RunIsolated([] {
        PutFile(pidFilePath, "1");
        return Start({"-h"}, SayThatItRuns);
    });

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.standardOutput, "");
    EXPECT_EQ(outcome.standardError, "[Switch] open message queue failed: No such file or directory\n");
    EXPECT_EQ(outcome.files.at("norvad.pid"), "1");
}

TEST(Program, TheClientLeavesTheRequestQueueOfTheDaemonAlone) {
    const IsolatedOutcome outcome = RunIsolated([] {
        PutFile(pidFilePath, "1");
        mq_attr attributes{};
        attributes.mq_maxmsg = controlQueueDepth;
        attributes.mq_msgsize = sizeof(ControlMessage);
        const mqd_t queue = mq_open(requestQueueName, O_RDWR | O_CREAT, 0666, &attributes);
        const int status = Start({"-p", "x"}, SayThatItRuns);
        ControlMessage message{};
        mq_receive(queue, reinterpret_cast<char*>(&message), sizeof message, nullptr);
        std::printf("%s", message.text);
        return status;
    });

    EXPECT_EQ(outcome.standardOutput, "norvad3 -p x ");
}

}  // namespace
}  // namespace norvad::test
