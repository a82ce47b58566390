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

TEST(KernelQueues, AreMadeForTenMessagesOfTheControlChannelWhateverTheMaskOfTheUser) {
    const IsolatedOutcome outcome = RunIsolated([] {
        umask(077);
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

TEST(KernelQueues, ForRepliesDoNotWaitForTheirReader) {
    const IsolatedOutcome outcome = RunIsolated([] {
        KernelControlQueues queues;
        const auto reader = queues.Create("/q");
        const auto replies = queues.OpenReplies("/q");
        ControlMessage message{};
        const auto send = [&] { std::printf("%d ", static_cast<int>(replies->TrySend(message))); };
        for (int n = 0; n < 11; ++n) send();
        (void)reader->Receive(message, timespec{});
        send();
        queues.Remove("/q");
        send();
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "0 0 0 0 0 0 0 0 0 0 1 0 2 ");
}

TEST(KernelQueues, ForShorterMessagesAreNoPlaceForReplies) {
    const IsolatedOutcome outcome = RunIsolated([] {
        mq_attr attributes{};
        attributes.mq_maxmsg = 10;
        attributes.mq_msgsize = sizeof(ControlMessage) - 1;
        mq_open("/q", O_RDONLY | O_CREAT, 0600, &attributes);
        KernelControlQueues queues;
        if (!queues.OpenReplies("/none")) std::printf("%s; ", std::strerror(errno));
        std::printf("%d", static_cast<int>(queues.OpenReplies("/q")->TrySend(ControlMessage{})));
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "No such file or directory; 2");
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
