#include "daemon/grandmaster_file_and_queue.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <mqueue.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "daemon/standard_log.h"
#include "tests/support/captured_log.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {

namespace {

class FileAndQueue : public testing::Test {
protected:
    FileAndQueue()
        : directory(std::filesystem::temp_directory_path() / ("norvad-ptp-" + std::to_string(getpid()))),
          queueName("/norvad-ptp-" + std::to_string(getpid())) {
        std::filesystem::create_directory(directory);
        mq_unlink(queueName.c_str());
    }
    ~FileAndQueue() override {
        std::filesystem::remove_all(directory);
        mq_unlink(queueName.c_str());
    }

    std::string FileContent() const {
        std::ifstream file(FileName(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string FileName() const { return directory / "grandmaster"; }

    std::filesystem::path directory;
    std::string queueName;
    GrandmasterFileAndQueue output{directory / "grandmaster", queueName};
};

TEST_F(FileAndQueue, IdentityIsWrittenInWireOrderOverWhatWasThere) {
    std::ofstream(FileName()) << "something longer than an identity";
    output.WriteIdentity({0x00, 0x1B, 0x21, 0xFF, 0xFE, 0x0A, 0x0B, 0x0C});
    EXPECT_EQ(FileContent(), std::string("\x00\x1B\x21\xFF\xFE\x0A\x0B\x0C", 8));
}

TEST_F(FileAndQueue, NewFileIsForAllToRead) {
    const mode_t previous = umask(0);
    output.WriteIdentity({});
    umask(previous);
    struct stat status {};
    ASSERT_EQ(stat(FileName().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
}

TEST_F(FileAndQueue, FileThatGetsThePlaceOfStandardInputIsNotWritten) {
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);

    output.WriteIdentity({1, 2, 3, 4, 5, 6, 7, 8});

    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "and not left open there";
    if (input > STDIN_FILENO) {
        dup2(input, STDIN_FILENO);
        close(input);
    }
    EXPECT_TRUE(std::filesystem::exists(FileName()));
    EXPECT_EQ(FileContent(), "");
}

// From here on the kernel takes nothing of what this process writes to a file of its own and says that it took 0 bytes.
void LetWritesTakeNothing() {
    // The lower half of the first argument.
    constexpr auto descriptor = offsetof(seccomp_data, args) + (std::endian::native == std::endian::big ? 4 : 0);
    std::array<sock_filter, 6> program{{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_write, 0, 3),
                                        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, descriptor),
                                        BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, STDERR_FILENO, 0, 1),
                                        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO),  // error 0: the result is 0
                                        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)}};
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0)
        _exit(126);
}

// The text goes to standard output, which the test has joined to standard error to see it. A sanitizer probes an object
// that it does not know yet by writing it to a pipe, hence the first calls.
TEST_F(FileAndQueue, WriteThatTakesNothingIsReported) {
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            const SteppedClock clock;
            const StandardLog standard(clock);
            output.WriteIdentity({});
            log(LogCategory::PTP, 0, "probed\n");
            LetWritesTakeNothing();
            output.WriteIdentity({1, 2, 3, 4, 5, 6, 7, 8});
            (void)fflush(stdout);
            _exit(0);
        },
        testing::ExitedWithCode(0), testing::EndsWith(" write to file failed\n"));
}

TEST_F(FileAndQueue, NothingIsWrittenThroughALink) {
    const std::string target = directory / "target";
    std::ofstream(target) << "precious";
    std::filesystem::create_symlink(target, FileName());
    CapturedLog captured(LogCategory::PTP, 5);

    output.WriteIdentity({});

    std::ifstream file(target);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "precious");
    EXPECT_THAT(captured.Lines(), testing::IsEmpty());
}

TEST_F(FileAndQueue, APipeInPlaceOfTheFileIsNotWaitedForAndGetsNothing) {
    ASSERT_EQ(mkfifo(FileName().c_str(), 0666), 0);
    CapturedLog captured(LogCategory::PTP, 5);
    output.WriteIdentity({});

    const int reader = open(FileName().c_str(), O_RDONLY | O_NONBLOCK);
    output.WriteIdentity({});

    char byte;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
    EXPECT_THAT(captured.Lines(), testing::IsEmpty());
}

TEST_F(FileAndQueue, FileThatCannotBeOpenedIsPassedOverInSilence) {
    std::filesystem::remove_all(directory);
    CapturedLog captured(LogCategory::PTP, 5);
    output.WriteIdentity({});
    EXPECT_THAT(captured.Lines(), testing::IsEmpty());
}

TEST_F(FileAndQueue, MessageTravelsWholeWithItsPriority) {
    mq_attr attributes{};
    attributes.mq_maxmsg = 1;
    attributes.mq_msgsize = sizeof(GrandmasterMessage);
    const mqd_t reader = mq_open(queueName.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_NONBLOCK, 0600, &attributes);
    ASSERT_GE(reader, 0) << strerror(errno);
    GrandmasterMessage message;
    message.clockNumber = 0x0102030405060708;
    message.domainNumber = 0;
    message.pathCount = 2;
    message.path[1] = 77;

    output.Send(message);
    output.Send(message);  // finds the queue full and is lost, at no cost

    GrandmasterMessage received;
    unsigned priority = 0;
    EXPECT_EQ(mq_receive(reader, reinterpret_cast<char*>(&received), sizeof(received), &priority), 272);
    EXPECT_EQ(priority, 16U);
    EXPECT_EQ(std::memcmp(&received, &message, sizeof(message)), 0);
    EXPECT_EQ(mq_receive(reader, reinterpret_cast<char*>(&received), sizeof(received), &priority), -1);
    mq_close(reader);
}

TEST_F(FileAndQueue, MissingQueueIsReportedEachTimeAndNotMade) {
    testing::internal::CaptureStderr();
    output.Send({});
    output.Send({});
    const std::string line = "[Switch] open PTP mq failed: No such file or directory\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
}

TEST_F(FileAndQueue, EveryExportReportsTheMissingQueueAndStillWritesTheFile) {
    BestMaster best{};
    best.dataset.grandmasterIdentity = {0x00, 0x11, 0x22, 0xFF, 0xFE, 0x33, 0x44, 0x55};
    GrandmasterMessage message;
    message.clockNumber = 1;
    GrandmasterExport exporter(best, message, output);

    for (int count = 1; count <= 2; ++count) {
        std::filesystem::remove(FileName());
        testing::internal::CaptureStderr();
        exporter.SendGrandmasterId();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "[Switch] open PTP mq failed: No such file or directory\n");
        EXPECT_EQ(FileContent(), std::string("\x00\x11\x22\xFF\xFE\x33\x44\x55", 8));
    }
}

}  // namespace

}  // namespace norvad::test
