// Refreshes of what is known take no memory, and no more of anything with many streams than with few.

#include <cstdlib>
#include <new>

#include "base/ethertypes.h"
#include "tests/msrp/msrp_bridge.h"

namespace {

size_t allocations = 0;

}  // namespace

// Inlined, their malloc and free would look mismatched to the compiler.
[[gnu::noinline]] void* operator new(size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

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
        Run(2000);
    }
};

TEST_F(MsrpSteadyState, RefreshesOfKnownValuesAllocateNothing) {
    const StreamID id = Stream(100);
    Bytes talker = Frame(0, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(id))), {1, 1, 1})})});
    Bytes listener = Frame(1, {Message(3, 8, {Vector({id.begin(), id.end()}, {1, 1, 1}, {2, 2, 2})})});
    const size_t before = allocations;
    for (int i = 0; i < 10; ++i) {
        msrp.HandleFrame(talker, ETHERTYPE_MSRP);
        msrp.HandleFrame(listener, ETHERTYPE_MSRP);
    }

    EXPECT_EQ(allocations - before, 0u);
    EXPECT_TRUE(msrp.FindListener(Stream(102), 1)->reservation.active);
}

TEST_F(MsrpSteadyState, APduWithManyValuesAllocatesNoMoreThanOneWithTwo) {
    const auto allocationsForPdu = [this](uint8_t values) {
        for (uint8_t n = 0; n < values; ++n) ReceiveTalker(0, Stream(n), AttributeEvent::NEW);
        board.sent.clear();
        clock.AdvanceMs(1);
        const size_t before = allocations;
        (void)timers.runDue();
        const size_t taken = allocations - before;
        EXPECT_EQ(SentValues(1).size(), values);
        Run(2000);
        return taken;
    };

    EXPECT_EQ(allocationsForPdu(40), allocationsForPdu(2));
}

}  // namespace
}  // namespace norvad::test
