#include "daemon/control/control_queues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/support/isolated_process.h"

namespace norvad::test {
namespace {

TEST(KernelQueues, AreMadeForTenMessagesOfTheControlChannel) {
    const IsolatedOutcome outcome = RunIsolated([] {
        umask(0);
        KernelControlQueues queues;
        const auto made = queues.Create("/q");
        const mqd_t opened = mq_open("/q", O_RDONLY);
        mq_attr attributes{};
        mq_getattr(opened, &attributes);
        struct stat status {};
        fstat(opened, &status);
        std::printf("%ld %ld %ld %o", attributes.mq_flags, attributes.mq_maxmsg, attributes.mq_msgsize,
                    status.st_mode & 0777u);
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "0 10 2124 666");
}

TEST(KernelQueues, AreMadeOnlyWhereThereIsNone) {
    const IsolatedOutcome outcome = RunIsolated([] {
        KernelControlQueues queues;
        const auto first = queues.Create("/q");
        if (!queues.Create("/q")) std::printf("%s; ", std::strerror(errno));
        queues.Remove("/q");
        std::printf("%s", queues.Create("/q") ? "made again" : "failed");
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "File exists; made again");
}

TEST(KernelQueues, CarryAMessageAtTheChannelsPriority) {
    const IsolatedOutcome outcome = RunIsolated([] {
        KernelControlQueues queues;
        const auto owner = queues.Create("/q");
        ControlMessage message{};
        PutText(message.text, "hello");
        message.type = 7;
        if (!queues.Open("/q")->Send(message)) return 1;
        ControlMessage received{};
        unsigned priority = 0;
        const mqd_t reader = mq_open("/q", O_RDONLY);
        const ssize_t length = mq_receive(reader, reinterpret_cast<char*>(&received), sizeof received, &priority);
        std::printf("%zd %u %u %s", length, priority, received.type, received.text);
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "2124 256 7 hello");
}

TEST(KernelQueues, ThatDoNotExistCannotBeOpened) {
    const IsolatedOutcome outcome = RunIsolated([] {
        KernelControlQueues queues;
        if (!queues.Open("/none")) std::printf("%s", std::strerror(errno));
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "No such file or directory");
}

TEST(KernelQueues, GiveUpAtTheDeadline) {
    const IsolatedOutcome outcome = RunIsolated([] {
        KernelControlQueues queues;
        const auto owner = queues.Create("/q");
        ControlMessage message{};
        if (owner->Receive(message, timespec{1, 0}) < 0) std::printf("%s; ", std::strerror(errno));
        if (owner->Receive(message, timespec{1, 1'000'000'000}) < 0) std::printf("%s", std::strerror(errno));
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "Connection timed out; Invalid argument");
}

}  // namespace
}  // namespace norvad::test
