#include "ctl/serve/listen_address.h"

#include <gtest/gtest.h>

namespace norvad::ctl::test {
namespace {

TEST(ListenAddress, IsAnAddressAndAPort) {
    for (const char* text : {"127.0.0.1:8021", "0.0.0.0:1", "[::1]:65535", "[fd00::a]:0", "[::ffff:10.0.0.1]:80"}) {
        const auto endpoint = ReadListenAddress(text);
        ASSERT_TRUE(endpoint) << text;
        EXPECT_EQ(ListenAddressText(*endpoint), text);
    }
    EXPECT_EQ(ReadListenAddress("[0:0::1]:8021")->address(), boost::asio::ip::address_v6::loopback());
}

TEST(ListenAddress, IsNothingElse) {
    for (const char* text : {"",
                             ":",
                             "8021",
                             ":8021",
                             "127.0.0.1",
                             "127.0.0.1:",
                             "127.0.0.1:65536",
                             "127.0.0.1:-1",
                             "127.0.0.1:+1",
                             "127.0.0.1:80 ",
                             " 127.0.0.1:80",
                             "127.0.0.1:0x50",
                             "127.1:80",
                             "127.0.0.256:80",
                             "::1:80",
                             "[::1]",
                             "[::1]:",
                             "[::1:80",
                             "::1]:80",
                             "[127.0.0.1]:80",
                             "[fe80::1%eth0]:80",
                             "[]:80",
                             "localhost:80",
                             "example.org:80"}) {
        EXPECT_FALSE(ReadListenAddress(text)) << text;
    }
    EXPECT_FALSE(ReadListenAddress(std::string_view("127.0.0.1\0:80", 13)));
}

}  // namespace
}  // namespace norvad::ctl::test
