#include <csignal>

#include "tests/support/system/board_test.h"
#include "tests/support/system/control_client.h"
#include "tests/support/system/mvrp_frame.h"

namespace norvad::test {
namespace {

using Events = std::vector<MrpEvent>;

class Mvrp : public BoardTest {
protected:
    void Send(int port, const Bytes& messages) { wires[port]->Send(MvrpFrame(stations[port], messages)); }
    void Tell(int port, uint16_t vid, MrpEvent event) { Send(port, MvrpMessage({{vid, {event}}})); }

    bool WaitForVlanDeclared(int port, uint16_t vid, size_t skipped = 0) {
        return wires[port]
            ->WaitForFrame([=](const Bytes& frame) { return DeclaresVlan(frame, vid); }, skipped)
            .has_value();
    }
    bool WaitForVlanLeft(int port, uint16_t vid) {
        return wires[port]->WaitForFrame([=](const Bytes& frame) { return LeavesVlan(frame, vid); }).has_value();
    }

    static std::string Added(int port, uint16_t vid) { return Membership("add", port, vid); }
    static std::string Removed(int port, uint16_t vid) { return Membership("remove", port, vid); }
    static std::string Membership(const char* change, int port, uint16_t vid) {
        return std::string("vlan ") + change + " port mask 0x0" + std::to_string(1 << port) + " vid " +
               std::to_string(vid);
    }

    // Registers a VLAN on port with everything that follows.
    void Register(int port, uint16_t vid) {
        Tell(port, vid, mrpNew);
        ASSERT_TRUE(board->WaitForEvent(Added(port, vid))) << board->Program().Output();
    }

    // A broadcast of a station in a VLAN, counted by its last byte.
    Bytes TaggedFrame(int port, uint16_t vid, uint8_t count) const {
        return Join({FromHex("ff ff ff ff ff ff"), stations[port], FromHex("81 00"), BigEndian(vid, 2),
                     FromHex("88 b5"), Bytes(45), Bytes{count}});
    }

    // Whether such a frame came out of port. What was sent before it into the same port, came out before.
    bool Came(int port, uint8_t count, std::chrono::milliseconds deadline = longEnough) {
        // The kernel takes the VLAN tag off a received frame and keeps it beside.
        const auto isIt = [&](const Bytes& frame) {
            return Part(frame, 0, 6) == FromHex("ff ff ff ff ff ff") && Part(frame, 6, 6) == stations[1 - port] &&
                   frame.back() == count;
        };
        return wires[port]->WaitForFrame(isIt, 0, deadline).has_value();
    }
    bool HasCome(int port, uint8_t count) { return Came(port, count, std::chrono::milliseconds(0)); }

    std::string Everything() const { return board->Program().Output() + board->Program().Errors() + Log(); }
};

TEST_F(Mvrp, VlanOfANeighbourBecomesAMembershipAndIsDeclaredOnTheOtherPort) {
    StartBoard();

    Tell(0, 10, mrpNew);

    EXPECT_TRUE(board->WaitForEvent(Added(0, 10))) << Everything();
    const auto declares = [](const Bytes& frame) { return DeclaresVlan(frame, 10); };
    const auto frame = wires[1]->WaitForFrame(declares);
    ASSERT_TRUE(frame) << Everything();
    EXPECT_EQ(Part(*frame, 0, 6), FromHex("01 80 c2 00 00 21"));
    EXPECT_EQ(Part(*frame, 6, 6), VirtualBoard::Address());
    EXPECT_GE(frame->size(), 60U);
    EXPECT_EQ(board->Events(Added(1, 10)), 0U);

    Tell(0, 10, mrpLv);

    EXPECT_TRUE(board->WaitForEvent(Removed(0, 10))) << Everything();
    EXPECT_TRUE(WaitForVlanLeft(1, 10)) << Everything();
}

TEST_F(Mvrp, VlansAreListedAsTheyCome) {
    StartBoard();
    RecordDaemon(daemon);

    const auto isListed = [this] {
        Tell(0, 20, mrpJoinIn);
        Tell(0, 10, mrpJoinIn);
        const std::string answer = Ask({"-v"});
        return answer.starts_with("Port 0\n[MVRP] Vlan:20 Applicant ") && answer.ends_with("Port 5\nPort 6\n") &&
               answer.find(" Registrar IN\n[MVRP] Vlan:10 Applicant ") != std::string::npos &&
               answer.find("Port 1\n[MVRP] Vlan:20 Applicant ") != std::string::npos;
    };

    EXPECT_TRUE(WaitFor(isListed)) << Ask({"-v"});
}

TEST_F(Mvrp, LeaveAllTakesWhatIsNotDeclaredAgain) {
    StartBoard();
    Register(0, 10);
    Register(0, 20);

    Send(0, MvrpMessage({{10, {mrpJoinIn}, true}}));

    const auto takesTheOther = [this] {
        Tell(0, 10, mrpJoinIn);
        return board->Events(Removed(0, 20)) == 1;
    };
    EXPECT_TRUE(WaitFor(takesTheOther)) << Everything();
    EXPECT_TRUE(WaitForVlanLeft(1, 20)) << Everything();
    EXPECT_EQ(board->Events(Removed(0, 10)), 0U) << Everything();
}

TEST_F(Mvrp, PortThatGoesDownLosesItsVlans) {
    StartBoard();
    Register(0, 10);
    ASSERT_TRUE(WaitForVlanDeclared(1, 10)) << Everything();

    SetInterfaceUp("peer0", false);

    EXPECT_TRUE(board->WaitForEvent(Removed(0, 10))) << Everything();
    EXPECT_TRUE(WaitForVlanLeft(1, 10)) << Everything();
    SetInterfaceUp("peer0", true);
    ASSERT_TRUE(board->WaitForEvent("port 0 link up", 2)) << Everything();
    wires[0]->Received();  // takes the error that the cable left in the socket
    Register(0, 30);
    EXPECT_TRUE(DaemonLives());
}

TEST_F(Mvrp, PortThatComesUpLaterHearsOfTheVlansThatAreRegistered) {
    StartBoard();
    SetInterfaceUp("peer1", false);
    ASSERT_TRUE(board->WaitForEvent("port 1 link down")) << Everything();
    const size_t before = wires[1]->Received().size();
    Register(0, 10);

    SetInterfaceUp("peer1", true);

    const auto isDeclared = [&] {
        Tell(0, 10, mrpJoinIn);
        const auto declares = [](const Bytes& frame) { return DeclaresVlan(frame, 10); };
        return wires[1]->WaitForFrame(declares, before, std::chrono::milliseconds(0)).has_value();
    };
    EXPECT_TRUE(WaitFor(isDeclared)) << Everything();
}

TEST_F(Mvrp, EveryValueOfEveryVectorIsReadAndSoIsTheMessageBehindThem) {
    StartBoard();

    Send(0, Join({MvrpMessage({{100, Events(7, mrpNew)}, {0x00FF, {mrpNew, mrpNew, mrpNew}}}),
                  MvrpMessage({{50, {mrpNew}}})}));
    Send(0, Join({MvrpMessage({{60, {mrpNew, mrpJoinIn, mrpIn}}}), MvrpMessage({{70, {mrpNew}}})}));

    for (const uint16_t vid : std::initializer_list<uint16_t>{100, 101, 106, 0x00FF, 0x0100, 0x0101, 50, 60, 61, 70}) {
        EXPECT_TRUE(board->WaitForEvent(Added(0, vid))) << vid << Everything();
        EXPECT_TRUE(WaitForVlanDeclared(1, vid)) << vid << Everything();
    }
    EXPECT_EQ(board->Events(Added(0, 107)), 0U);
    EXPECT_TRUE(DaemonLives());
}

TEST_F(Mvrp, TruncatedMessagesDoNotStopTheDaemon) {
    StartBoard();
    const Bytes messages =
        Join({MvrpMessage({{200, Events(7, mrpNew)}, {300, {mrpNew}, true}}), MvrpMessage({{400, {mrpLv}}})});
    const Bytes whole = Part(MvrpFrame(stations[0], messages), 0, payloadAt + 1 + messages.size());

    for (size_t length = payloadAt; length <= whole.size(); ++length)
        wires[0]->Send(Join({Part(whole, 0, length), Bytes(whole.size() - length, 0xFF)}));
    for (size_t length = payloadAt; length < whole.size(); ++length) wires[0]->Send(Part(whole, 0, length));

    Register(1, 500);
    EXPECT_TRUE(WaitForVlanDeclared(0, 500)) << Everything();
    EXPECT_TRUE(DaemonLives()) << Everything();
}

TEST_F(Mvrp, FramesOfAVlanPassBothWaysOnlyWhileItIsRegisteredOnBothSides) {
    StartBoard();
    wires[0]->Send(TaggedFrame(0, 10, 1));
    wires[1]->Send(TaggedFrame(1, 10, 2));
    Register(1, 10);
    ASSERT_TRUE(WaitForVlanDeclared(0, 10)) << Everything();
    wires[1]->Send(TaggedFrame(1, 10, 3));
    Register(0, 10);

    wires[0]->Send(TaggedFrame(0, 10, 4));
    wires[0]->Send(TaggedFrame(0, 11, 5));
    wires[1]->Send(TaggedFrame(1, 10, 6));

    EXPECT_TRUE(Came(1, 4)) << Everything();
    EXPECT_TRUE(Came(0, 6)) << Everything();
    EXPECT_FALSE(HasCome(1, 1));
    EXPECT_FALSE(HasCome(0, 2));
    EXPECT_FALSE(HasCome(0, 3));

    Tell(1, 10, mrpLv);
    ASSERT_TRUE(board->WaitForEvent(Removed(1, 10))) << Everything();
    wires[0]->Send(TaggedFrame(0, 10, 7));
    Register(1, 12);
    wires[0]->Send(TaggedFrame(0, 12, 8));

    EXPECT_TRUE(Came(1, 8)) << Everything();
    EXPECT_FALSE(HasCome(1, 5));
    EXPECT_FALSE(HasCome(1, 7));
}

TEST_F(Mvrp, EndStationsMeetInAVlanUntilOneLeaves) {
    StartBoard();
    Process& left = StartStation(0, {"--name", "left", "--vlan", "10"});
    Process& right = StartStation(1, {"--name", "right", "--vlan", "10", "--vlan", "20"});

    EXPECT_TRUE(right.WaitForOutput("vlan 10 registered")) << right.Output() << Everything();
    EXPECT_TRUE(left.WaitForOutput("vlan 10 registered")) << left.Output() << Everything();
    EXPECT_TRUE(left.WaitForOutput("vlan 20 registered")) << left.Output() << Everything();
    EXPECT_TRUE(board->WaitForEvent(Added(0, 10))) << Everything();
    EXPECT_TRUE(board->WaitForEvent(Added(1, 10))) << Everything();
    EXPECT_EQ(board->Events(Added(0, 20)), 0U);

    left.Signal(SIGTERM);

    EXPECT_EQ(left.WaitForExit(), 0);
    EXPECT_TRUE(board->WaitForEvent(Removed(0, 10))) << Everything();
    EXPECT_TRUE(right.WaitForOutput("vlan 10 withdrawn")) << right.Output() << Everything();
    EXPECT_EQ(board->Events(Removed(1, 10)), 0U);
}

TEST_F(Mvrp, FramesOfTheDaemonAreKnownToTheDissector) {
    StartBoard();
    const Bytes whole = MvrpFrame(stations[0], MvrpMessage({{10, {mrpNew}}}));
    wires[0]->Send(whole);
    wires[0]->Send(Part(whole, 0, 20));
    ASSERT_TRUE(WaitForVlanDeclared(1, 10)) << Everything();

    board->Program().Signal(SIGTERM);
    ASSERT_EQ(board->Program().WaitForExit(), 0);

    const auto ofNeighbour = Dissect(VirtualBoard::captures + std::string("/port0.pcap"), stations[0]);
    ASSERT_EQ(ofNeighbour.size(), 2U);
    EXPECT_FALSE(ofNeighbour[0].malformed);
    EXPECT_TRUE(ofNeighbour[1].malformed);
    size_t ofDaemon = 0;
    for (const auto& frame : Dissect(VirtualBoard::captures + std::string("/port1.pcap"), VirtualBoard::Address()))
        ofDaemon += frame.protocols.find("mrp-mvrp") != std::string::npos && !frame.malformed ? 1U : 0U;
    EXPECT_GT(ofDaemon, 0U);
}

// An answer of 20480 characters is what a reply queue holds; all of it is ready before the client reads.
TEST_F(Mvrp, AnswerThatFillsTheReplyQueueComesWhole) {
    StartBoard();
    RecordDaemon(daemon);
    // Registrations are shown on their own port only.
    SetInterfaceUp("peer1", false);
    ASSERT_TRUE(WaitForAnswer({"-s"}, "Port  1  status: is Down"));
    const size_t line = std::string("[MVRP] Vlan:100 Applicant VO Registrar IN\n").size();
    const size_t wanted = 20480 - Ask({"-v"}).size();
    const size_t longer = wanted % line;  // VLANs with a fourth digit
    const size_t all = wanted / line;
    ASSERT_LT(longer, all);
    std::string answer;

    const auto fills = [&] {
        Send(0, MvrpMessage({{100, Events(all - longer, mrpJoinIn)}, {1000, Events(longer, mrpJoinIn)}}));
        answer = Ask({"-v"});
        return answer.size() == 20480;
    };

    EXPECT_TRUE(WaitFor(fills)) << answer.size();
    EXPECT_TRUE(answer.ends_with("\nPort 1\nPort 2\nPort 3\nPort 4\nPort 5\nPort 6\n"));
    SetInterfaceUp("peer1", true);
}

}  // namespace
}  // namespace norvad::test
