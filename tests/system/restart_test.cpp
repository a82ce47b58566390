#include <algorithm>
#include <csignal>

#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

constexpr const char* streamId = "02:00:00:00:00:a0:00:01";

// A daemon that dies and is started again, on a board that lives on.
class Restart : public BoardTest {
protected:
    void StartWithAStream(const std::string& restartMs) {
        StartBoard({"-n"}, {"--restart", restartMs});
        talker = &StartStation(0, {"--talk", streamId});
        listener = &StartStation(1, {"--listen", streamId});
        EXPECT_TRUE(listener->WaitForOutput("frames begin")) << Everything();
    }

    void KillDaemon() {
        kill(daemon, SIGKILL);
        EXPECT_TRUE(board->WaitForEvent("daemon ended with status 137")) << Everything();
    }

    // Whether a frame of the stream goes from port 0 to port 1. One that any switch forwards is sent behind it, so none
    // is waited for in vain. The kernel takes the VLAN tag off.
    bool Passes(const std::string& mark) {
        const Bytes text(mark.begin(), mark.end());
        const Bytes payload = Join({text, Bytes(60, 0)});
        const size_t before = wires[1]->Received().size();
        wires[0]->Send(Join({FromHex("91 e0 f0 00 01 00"), stations[0], FromHex("81 00 60 02 22 f0"), payload}));
        wires[0]->Send(Join({FromHex("01 1b 19 00 00 77"), stations[0], FromHex("88 b5"), payload}));
        const auto arrives = [&](uint16_t etherType) {
            return [=](const Bytes& frame) {
                return EtherType(frame) == etherType && Part(frame, payloadAt, text.size()) == text;
            };
        };
        EXPECT_TRUE(wires[1]->WaitForFrame(arrives(0x88B5), before)) << Everything();
        const auto& received = wires[1]->Received();
        return std::any_of(received.begin(), received.end(), arrives(0x22F0));
    }

    std::string Everything() const { return talker->Output() + listener->Output() + board->Program().Output() + Log(); }

    static constexpr const char* anHour = "3600000";
    const std::string added = "multicast add port mask 0x02 vid 2 91:e0:f0:00:01:00";
    const std::string flushed = "CPU interface down, tables flushed";
    Process* talker = nullptr;
    Process* listener = nullptr;
};

TEST_F(Restart, FindsTheBoardAsItWas) {
    StartWithAStream("100");

    KillDaemon();

    daemon = board->WaitForDaemon();
    EXPECT_GT(daemon, 0) << Everything();
    EXPECT_TRUE(Passes("open")) << Everything();
    EXPECT_EQ(board->Events(flushed), 0U) << Everything();
    EXPECT_EQ(board->Events("multicast remove port mask 0x02 vid 2 91:e0:f0:00:01:00"), 0U) << Everything();
}

TEST_F(Restart, WithTheCpuInterfaceTakenDownNoStreamIsLeftOpen) {
    StartWithAStream(anHour);
    KillDaemon();
    listener->Signal(SIGKILL);
    EXPECT_TRUE(Passes("open")) << Everything();

    SetInterfaceUp("eth0", false);

    EXPECT_TRUE(board->WaitForEvent(flushed)) << Everything();
    EXPECT_FALSE(Passes("shut")) << Everything();
}

TEST_F(Restart, BetweenDownAndUpBringsTheReservationBack) {
    StartWithAStream("2000");
    const size_t reservations = board->Events(added);

    KillDaemon();
    SetInterfaceUp("eth0", false);
    EXPECT_TRUE(board->WaitForEvent(flushed)) << Everything();
    SetInterfaceUp("eth0", true);

    EXPECT_TRUE(board->WaitForEvent(added, reservations + 1)) << Everything();
    EXPECT_TRUE(Passes("again")) << Everything();
}

TEST_F(Restart, EndsWithTheBoard) {
    StartWithAStream(anHour);
    KillDaemon();

    board->Program().Signal(SIGTERM);

    EXPECT_EQ(board->Program().WaitForExit(), 128 + SIGKILL) << Everything();
}

}  // namespace
}  // namespace norvad::test
