// What the handler does beside the protocol.

#include "tests/msrp/msrp_bridge.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MsrpHandler : public MsrpBridge {
protected:
    MsrpHandler() { Raise({0, 1}); }
};

// A value of a type that is not MSRP's.
class ForeignAttribute final : public MRPAttribute {
public:
    ForeignAttribute() : MRPAttribute(5, 0) {}
    std::span<const uint8_t> FirstValue() const override { return {}; }
    std::string Text() const override { return "foreign"; }
};

// A switch without ports, on which no timer of a port disturbs those of the handler.
class NoPorts final : public I4DSASocket {
public:
    uint8_t GetMaxPorts() const override { return 0; }
    void write(uint8_t, uint8_t*, size_t) override {}
    void writeAllPorts(uint8_t, uint8_t*, size_t) override {}
    bool IsPortUp(uint8_t) const override { return false; }
    bool IsStpUp(uint8_t) const override { return false; }
    bool IsAvbUp(uint8_t) const override { return false; }
    bool GetPeerIsSameMake(uint8_t) const override { return false; }
    void SetAsCapable(uint8_t, bool, bool) override {}
};

TEST_F(MsrpHandler, AttributesOfAnotherTypeAreOnlyLogged) {
    CapturedLog captured(LogCategory::MSRP);
    MRPAttribute& foreign = msrp.Insert(std::make_unique<ForeignAttribute>());
    msrp.RunAttributeStateMachines(&foreign, 0, Event::RNEW);
    msrp.RemoveAttribute(foreign);

    EXPECT_THAT(captured.Lines(), ElementsAre("Propagate request for unknown attribute type 5",
                                              "DeleteAttribute request for unknown attribute type 5"));
    EXPECT_THAT(board.calls, IsEmpty());
}

TEST(MsrpWalk, ComesAfterASecondAndThenEverySecond) {
    constexpr uint64_t tickMs = 200, firstTickMs = 230;  // once late, leave ticks stay clear of the full seconds
    SteppedClock clock;
    TimerService timers{clock};
    FakeSwitch board;
    NoPorts socket;
    const MSRPHandler msrp(socket, board, timers);

    std::vector<uint64_t> betweenTheTicks;
    clock.AdvanceMs(firstTickMs);
    for (uint64_t ms = firstTickMs; ms < 3'500;) {
        if (ms % tickMs != firstTickMs % tickMs) betweenTheTicks.push_back(ms);
        const uint32_t wait = timers.runDue();
        clock.AdvanceMs(wait);
        ms += wait;
    }

    EXPECT_THAT(betweenTheTicks, ElementsAre(1000, 2000, 3000));
}

TEST_F(MsrpHandler, WhatHasSettledStaysAsItIsFromSecondToSecond) {
    msrp.PortUp(0);
    ReceiveTalker(0, Stream(1));
    ReceiveTalkerFailed(0, Stream(2));
    ReceiveListener(1, Stream(1));
    RunMs(999);
    const std::string streams = Control({"--msrp"}), domains = Control({"--dom"});
    const auto multicasts = board.multicasts;
    board.calls.clear();
    board.sent.clear();

    RunMs(8'000);  // short of a LeaveAll
    EXPECT_EQ(Control({"--msrp"}), streams);
    EXPECT_EQ(Control({"--dom"}), domains);
    EXPECT_EQ(board.multicasts, multicasts);
    EXPECT_THAT(board.calls, IsEmpty());
    EXPECT_THAT(board.sent, IsEmpty());
}

}  // namespace
}  // namespace norvad::test
