#include "ptp/time_arithmetic.h"

#include <gtest/gtest.h>

#include <limits>

namespace norvad::test {

namespace {

TEST(TruncateTo, CutsTowardZeroAndStopsAtTheEndsOfTheRange) {
    EXPECT_EQ(TruncateTo<int32_t>(1.9), 1);
    EXPECT_EQ(TruncateTo<int32_t>(-1.9), -1);
    EXPECT_EQ(TruncateTo<int32_t>(2147483647.0), 2147483647);
    EXPECT_EQ(TruncateTo<int32_t>(2147483648.0), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(TruncateTo<int32_t>(-2147483649.0), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(TruncateTo<int64_t>(9.3e18), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(TruncateTo<int64_t>(-std::numeric_limits<double>::infinity()), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(TruncateTo<int64_t>(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(Halves, AreThoseOfTheNumber) {
    EXPECT_EQ(High(0x0123'4567'89AB'CDEF), 0x0123'4567U);
    EXPECT_EQ(Low(0x0123'4567'89AB'CDEF), 0x89AB'CDEFU);
}

}  // namespace

}  // namespace norvad::test
