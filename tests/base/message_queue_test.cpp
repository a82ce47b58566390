#include "base/message_queue.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tests/support/isolated_process.h"

namespace norvad::test {
namespace {

constexpr MessageQueue::Capacity twoOfFour{.messages = 2, .bytes = 4};
constexpr std::array<uint8_t, 3> message = {1, 2, 3};

TEST(Queue, IsMadeOnlyWhereThereIsNone) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const MessageQueue first = MessageQueue::Create("/q", O_RDWR, 0600, twoOfFour);
        const MessageQueue second = MessageQueue::Create("/q", O_RDWR, 0600, twoOfFour);
        if (!second.IsOpen()) std::printf("%s %d; ", std::strerror(errno), second.Descriptor());
        MessageQueue::Remove("/q");
        std::printf("%d %d", first.IsOpen(), MessageQueue::Open("/q", O_RDONLY).IsOpen());
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "File exists -1; 1 0");
}

TEST(Queue, CarriesMessagesAsTheyAre) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const MessageQueue queue = MessageQueue::Create("/q", O_RDONLY, 0600, twoOfFour);
        if (!MessageQueue::Open("/q", O_WRONLY).Send(message, 1)) return 1;
        std::array<uint8_t, 4> buffer{};
        const ssize_t length = queue.Receive(buffer);
        std::printf("%zd: %d %d %d", length, buffer[0], buffer[1], buffer[2]);
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "3: 1 2 3");
}

TEST(Queue, CarriesAnEmptyMessage) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const MessageQueue queue = MessageQueue::Create("/q", O_RDWR, 0600, twoOfFour);
        std::array<uint8_t, 4> buffer{};
        std::printf("%d ", queue.Send({}, 1));
        std::printf("%zd", queue.Receive(buffer));
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "1 0");
}

TEST(Queue, ThatMustNotWaitRefusesWhatItCannotTakeOrGive) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const MessageQueue queue = MessageQueue::Create("/q", O_RDWR | O_NONBLOCK, 0600, twoOfFour);
        int sent = 0;
        while (queue.Send(message, 1)) ++sent;
        std::printf("%d, %s; ", sent, std::strerror(errno));
        std::array<uint8_t, 4> buffer{};
        int received = 0;
        while (queue.Receive(buffer) > 0) ++received;
        std::printf("%d, %s", received, std::strerror(errno));
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "2, Resource temporarily unavailable; 2, Resource temporarily unavailable");
}

TEST(Queue, IsClosedWithItsLastOwner) {
    const IsolatedOutcome outcome = RunIsolated([] {
        int descriptor = -1;
        {
            MessageQueue queue = MessageQueue::Create("/q", O_RDWR, 0600, twoOfFour);
            MessageQueue other = std::move(queue);
            descriptor = other.Descriptor();
            std::printf("%d %d ", queue.IsOpen(), fcntl(descriptor, F_GETFD) >= 0);
        }
        std::printf("%d", fcntl(descriptor, F_GETFD) >= 0);
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "0 1 0");
}

}  // namespace
}  // namespace norvad::test
