// What streams take of memory: refreshes nothing, a declared talker little, and nothing is kept when all are gone.

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

class MsrpMemory : public MsrpBridge {
protected:
    static StreamID StreamNumber(uint32_t number) {
        return {0x02,
                0,
                0,
                0,
                0,
                static_cast<uint8_t>(number >> 16),
                static_cast<uint8_t>(number >> 8),
                static_cast<uint8_t>(number)};
    }
    void Declare(uint32_t talkers) {
        for (uint32_t n = 0; n < talkers; ++n) msrp.AddTalker(TalkerOf(StreamNumber(n)), Event::RNEW, 0);
    }
};

// 8 bytes more for each allocation are the allocator's own.
TEST_F(MsrpMemory, ADeclaredTalkerTakesLittleOnEveryPort) {
    for (const uint32_t talkers : {1'000u, 10'000u, MSRPDB::maxReceived}) {
        for (const int64_t portsUp : {2, 3}) {
            FakeSwitch ports;
            MSRPHandler bridge(ports, ports, timers);
            for (uint8_t port = 0; port < portsUp; ++port) ports.Raise(port);
            const int64_t before = AllocatedBytes();
            for (uint32_t n = 0; n < talkers; ++n) bridge.AddTalker(TalkerOf(StreamNumber(n)), Event::RNEW, 0);

            const int64_t perTalker = (AllocatedBytes() - before) / talkers + 8 * (portsUp + 1);

            EXPECT_LE(perTalker, portsUp == 2 ? 300 : 390) << talkers << " talkers";
        }
    }
}

TEST_F(MsrpMemory, NothingIsKeptWhenAllAreGone) {
    Raise({0, 1});
    Declare(1);
    const int64_t before = AllocatedBytes();
    Declare(10'000);
    for (uint32_t n = 1; n < 10'000; ++n) {
        msrp.RemoveAttribute(*msrp.FindTalker(StreamNumber(n), 0));
        msrp.RemoveAttribute(*msrp.FindTalker(StreamNumber(n), 1));
    }

    EXPECT_LE(AllocatedBytes() - before, 4'096);
}

}  // namespace
}  // namespace norvad::test
