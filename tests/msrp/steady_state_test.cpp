// Refreshes of what is known take no memory, and no more of anything with many streams than with few.

#include "base/ethertypes.h"
#include "tests/msrp/msrp_bridge.h"
#include "tests/support/allocations/counted_allocations.h"

namespace norvad::test {
namespace {

class MsrpSteadyState : public MsrpBridge {
protected:
    MsrpSteadyState() {
        Raise({0, 1});
        for (int n = 0; n < 200; ++n) {
            const StreamID id = Stream(static_cast<uint8_t>(n));
            ReceiveTalker(0, id);
            ReceiveListener(1, id);
        }
        RunMs(2000);
    }
};

TEST_F(MsrpSteadyState, RefreshesOfKnownValuesAllocateNothing) {
    const StreamID id = Stream(100);
    Bytes talker = Frame(0, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(id))), {1, 1, 1})})});
    Bytes listener = Frame(1, {Message(3, 8, {Vector({id.begin(), id.end()}, {1, 1, 1}, {2, 2, 2})})});
    const size_t before = CountedAllocations();
    for (int i = 0; i < 10; ++i) {
        msrp.HandleFrame(talker, ETHERTYPE_MSRP);
        msrp.HandleFrame(listener, ETHERTYPE_MSRP);
    }

    EXPECT_EQ(CountedAllocations() - before, 0u);
    EXPECT_TRUE(msrp.FindListener(Stream(102), 1)->reservation.active);
}

TEST_F(MsrpSteadyState, APduWithManyValuesAllocatesNoMoreThanOneWithTwo) {
    const auto allocationsForPdu = [this](uint8_t values) {
        for (uint8_t n = 0; n < values; ++n) ReceiveTalker(0, Stream(n), AttributeEvent::NEW);
        board.sent.clear();
        clock.AdvanceMs(1);
        const size_t before = CountedAllocations();
        (void)timers.runDue();
        const size_t taken = CountedAllocations() - before;
        EXPECT_EQ(SentValues(1).size(), values);
        RunMs(2000);
        return taken;
    };

    EXPECT_EQ(allocationsForPdu(40), allocationsForPdu(2));
}

}  // namespace
}  // namespace norvad::test
