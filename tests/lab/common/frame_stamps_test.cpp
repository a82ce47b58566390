#include "lab/common/frame_stamps.h"

#include <gtest/gtest.h>

namespace norvad::lab {
namespace {

constexpr int64_t aheadNs = 7'000'000;

// A card whose clock is ahead of the reference.
class FakeCard final : public CardClock {
public:
    int64_t ToReference(int64_t cardNs) override { return cardNs - aheadNs; }
};

class FrameStampsOfAPort : public testing::Test {
protected:
    ReferenceTime reference;
    StampMapping byCard{reference, std::make_unique<FakeCard>()};
    StampMapping byKernel{reference, nullptr};
    const int64_t systemNs = ReferenceTime::SystemNs();
};

// The kernel gives a frame that a card stamped on its way out no stamp of its own.
TEST_F(FrameStampsOfAPort, FrameThatLeftByACardLeftWhenTheCardSaysSo) {
    EXPECT_EQ(byCard.ToReference({.hardwareNs = aheadNs + 500}), 500);
}

TEST_F(FrameStampsOfAPort, FrameThatCameInByACardCameWhenTheCardSaysSo) {
    EXPECT_EQ(byCard.ToReference({.softwareNs = systemNs, .hardwareNs = aheadNs + 500}), 500);
}

TEST_F(FrameStampsOfAPort, FrameThatTheCardPassedOverHasTheKernelsStamp) {
    EXPECT_EQ(byCard.ToReference({.softwareNs = systemNs}), reference.FromSystem(systemNs));
}

TEST_F(FrameStampsOfAPort, KernelsStampIsMappedFromTheSystemClock) {
    EXPECT_TRUE(byCard.IsByCard());
    EXPECT_FALSE(byKernel.IsByCard());
    EXPECT_EQ(byKernel.ToReference({.softwareNs = systemNs}), reference.FromSystem(systemNs));
    EXPECT_EQ(byKernel.ToReference({.softwareNs = systemNs + 1000}), reference.FromSystem(systemNs) + 1000);
}

TEST_F(FrameStampsOfAPort, FrameThatNobodyStampedHasNoTime) {
    EXPECT_FALSE(byCard.ToReference({}));
    EXPECT_FALSE(byKernel.ToReference({}));
    EXPECT_FALSE(byKernel.ToReference({.hardwareNs = 500}));  // of a clock that we cannot read
}

TEST(ReferenceTime, GivesBackTheStampThatItWasMappedFrom) {
    ReferenceTime reference;
    const int64_t systemNs = ReferenceTime::SystemNs();

    EXPECT_EQ(reference.ToSystem(reference.FromSystem(systemNs)), systemNs);
}

}  // namespace
}  // namespace norvad::lab
