#include "ctl/serve/query.h"

#include <gtest/gtest.h>

namespace norvad::ctl::test {
namespace {

TEST(Query, SelectsAsTheOptionsDo) {
    const auto all = ReadQuery("port=6&offset=20&limit=1000000000&stream=02%3a00:0000:00-a00001");

    ASSERT_TRUE(all);
    EXPECT_EQ(all->port, 6U);
    EXPECT_EQ(all->offset, 20U);
    EXPECT_EQ(all->limit, 1'000'000'000U);
    EXPECT_EQ(all->stream, 0x0200000000a00001U);
}

TEST(Query, MayBeEmpty) {
    const auto nothing = ReadQuery("");

    ASSERT_TRUE(nothing);
    EXPECT_FALSE(nothing->port);
    EXPECT_FALSE(nothing->stream);
    EXPECT_EQ(nothing->offset, 0U);
    EXPECT_EQ(nothing->limit, SIZE_MAX);
}

TEST(Query, IsNothingElse) {
    for (const char* query : {"port",
                              "port=",
                              "port=7",
                              "port=-1",
                              "port=+1",
                              "port=1x",
                              "port= 1",
                              "=1",
                              "&",
                              "port=1&&",
                              "port=1&port=1",
                              "Port=1",
                              "limit=1000000001",
                              "limit=99999999999999999999",
                              "offset=1.5",
                              "stream=02",
                              "stream=",
                              "stream=0200000000a0000g",
                              "stream=0200000000a00001&more=1",
                              "more=1",
                              "port=%",
                              "port=%3",
                              "port=%3g",
                              "port=%-1",
                              "port=1#",
                              "port=1;limit=2"}) {
        EXPECT_FALSE(ReadQuery(query)) << query;
    }
}

TEST(Query, ReadsEscapedBytes) {
    EXPECT_EQ(ReadQuery("port=%31")->port, 1U);
    EXPECT_FALSE(ReadQuery("port=1%00"));
    EXPECT_FALSE(ReadQuery("p%6frt=1"));
}

}  // namespace
}  // namespace norvad::ctl::test
