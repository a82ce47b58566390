#include <fcntl.h>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <vector>

#include "lab/grandmaster_reader/message_text.h"
#include "lab/grandmaster_reader/reading_queue.h"

namespace norvad::reader {

namespace {

// A message as the daemon writes it, field by field, in the order of this machine's bytes.
class Written {
public:
    template <typename Number>
    Written& Add(Number number) {
        const auto at = bytes.size();
        bytes.resize(at + sizeof(number));
        std::memcpy(bytes.data() + at, &number, sizeof(number));
        return *this;
    }
    std::vector<uint8_t> Filled(size_t size = 272) const {
        auto filled = bytes;
        filled.resize(size);
        return filled;
    }

private:
    std::vector<uint8_t> bytes;
};

Written Header(uint16_t pathCount) {
    Written message;
    message.Add(uint64_t{0x0011223344556677}).Add(uint32_t{200}).Add(uint8_t{3}).Add(uint8_t{0}).Add(pathCount);
    return message;
}

std::string NameOfOurOwn() {
    return "/norvad3-reader-test." + std::to_string(getpid());
}

}  // namespace

TEST(GrandmasterReader, MessageIsToldWithItsPath) {
    const auto bytes = Header(2).Add(uint64_t{0x0011223344556677}).Add(uint64_t{0x020000fffe000100}).Filled();

    const auto message = ReadMessage(bytes);

    ASSERT_TRUE(message);
    EXPECT_EQ(MessageText(*message),
              "grandmaster 0x0011223344556677 domain 3 fixed 200 path 0x0011223344556677 0x020000fffe000100");
}

TEST(GrandmasterReader, PathEndsWhereItsCountSays) {
    const auto none = ReadMessage(Header(0).Add(uint64_t{1}).Filled());
    auto full = Header(32);
    for (uint64_t entry = 1; entry <= 32; ++entry) full.Add(entry);
    const auto all = ReadMessage(full.Filled());

    ASSERT_TRUE(none);
    EXPECT_EQ(MessageText(*none), "grandmaster 0x0011223344556677 domain 3 fixed 200 path");
    ASSERT_TRUE(all);
    EXPECT_TRUE(MessageText(*all).ends_with(" 0x000000000000001f 0x0000000000000020")) << MessageText(*all);
}

TEST(GrandmasterReader, PathLongerThanItsRoomIsRefused) {
    EXPECT_FALSE(ReadMessage(Header(33).Filled()));
    EXPECT_FALSE(ReadMessage(Header(0xFFFF).Filled()));
}

TEST(GrandmasterReader, EveryOtherLengthIsRefused) {
    for (size_t length = 0; length < 272; ++length) EXPECT_FALSE(ReadMessage(Header(1).Filled(length))) << length;
    EXPECT_FALSE(ReadMessage(Header(1).Filled(273)));
}

TEST(GrandmasterReader, QueueHandsOverWhatIsSentAndThenNothing) {
    ReadingQueue queue(NameOfOurOwn());
    const auto bytes = Header(0).Filled();
    const mqd_t sender = mq_open(NameOfOurOwn().c_str(), O_WRONLY | O_NONBLOCK);
    ASSERT_GE(sender, 0);

    ASSERT_EQ(mq_send(sender, reinterpret_cast<const char*>(bytes.data()), bytes.size(), 16), 0);
    mq_close(sender);

    pollfd ready{queue.Descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 0), 1);
    const auto received = queue.Receive();
    EXPECT_EQ(std::vector<uint8_t>(received.begin(), received.end()), bytes);
    EXPECT_TRUE(queue.Receive().empty());
}

TEST(GrandmasterReader, QueueIsMadeAndRemovedByItsOneReader) {
    {
        const ReadingQueue queue(NameOfOurOwn());
        EXPECT_THROW(ReadingQueue{NameOfOurOwn()}, std::system_error);
    }

    EXPECT_LT(mq_open(NameOfOurOwn().c_str(), O_WRONLY), 0);
    EXPECT_EQ(errno, ENOENT);
}

}  // namespace norvad::reader
