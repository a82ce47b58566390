#include <fcntl.h>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <sys/stat.h>

#include <array>

#include "switch/kernel/kernel_doors.h"
#include "switch/kernel/kernel_request_queue.h"
#include "switch/switch.h"
#include "tests/switch/cable.h"

namespace norvad {
namespace {

using namespace test;

TEST(KernelRequestQueue, TakesRequestsOfFullLengthAndRefusesASecondOwner) {
    ExpectIsolated([] {
        ::umask(0);
        KernelRequestQueue queue;
        ASSERT_GE(queue.Descriptor(), 0);
        struct stat status {};
        ASSERT_EQ(::fstat(queue.Descriptor(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0666U);
        mq_attr attributes{};
        ASSERT_EQ(::mq_getattr(queue.Descriptor(), &attributes), 0);
        EXPECT_EQ(attributes.mq_maxmsg, 10);
        EXPECT_EQ(attributes.mq_msgsize, 2124);
        EXPECT_EQ(attributes.mq_flags, 0);

        const std::string request(2124, 'x');
        const mqd_t client = ::mq_open("/norvad.mq", O_WRONLY);
        ASSERT_EQ(::mq_send(client, request.data(), request.size(), 256), 0);
        ::mq_close(client);
        ASSERT_EQ(Events(queue.Descriptor()), POLLIN);
        std::array<uint8_t, 2124> message{};
        EXPECT_EQ(queue.Receive(message), 2124);
        EXPECT_EQ(message[2123], 'x');

        const std::string printed = PrintedBy([] { EXPECT_EQ(KernelRequestQueue().Descriptor(), -1); });
        EXPECT_EQ(printed, "[Switch] creating message queue failed: File exists\n");
    });
}

TEST(KernelRequestQueue, NameStaysWhenTheQueueIsClosed) {
    ExpectIsolated([] {
        { const KernelRequestQueue queue; }
        EXPECT_EQ(::mq_unlink("/norvad.mq"), 0);
    });
}

TEST(KernelDoors, SwitchStartsOnARunningInterface) {
    ExpectIsolated([] {
        MakePair();
        SystemClock clock;
        KernelDoors doors(clock);

        Switch bridge("sw0", clock, doors);

        EXPECT_EQ(ToHex({bridge.GetMacAddress(), 6}), "02 00 00 00 10 01");
        EXPECT_GE(bridge.Dispatcher().Descriptor(), 0);
        EXPECT_GE(bridge.LinkDescriptor(), 0);
        EXPECT_GE(bridge.Requests().Descriptor(), 0);
        for (const int descriptor :
             {bridge.Dispatcher().Descriptor(), bridge.LinkDescriptor(), bridge.Requests().Descriptor()}) {
            EXPECT_EQ(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        }
    });
}

TEST(KernelDoors, SwitchDoesNotStartWithoutItsInterface) {
    ExpectIsolated([] {
        SystemClock clock;
        KernelDoors doors(clock);
        (void)PrintedBy(
            [&] { EXPECT_EQ(FailureOf([&] { Switch("nosuch0", clock, doors); }), "unable to get interface index"); });
    });
}

}  // namespace
}  // namespace norvad
