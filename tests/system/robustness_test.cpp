#include <random>

#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

const Bytes etherTypes[] = {FromHex("22 ea"), FromHex("88 f5"), FromHex("88 f7"),
                            FromHex("88 cc"), FromHex("08 00"), FromHex("da da")};

class Garbage : public BoardTest {
protected:
    // A frame to the daemon of that length (14 or more) whose payload is drawn, or starts as a PDU and goes wrong
    // later.
    Bytes Frame(size_t length, const Bytes& etherType) {
        static const Bytes beginnings[] = {
            FromHex("00 01 19 00 1e 00 01"),  // an MSRP talker
            FromHex("00 03 08 ff ff 1f ff"),  // listeners whose lengths lie
            FromHex("00 01 02 00 03"),        // MVRP
            FromHex("12 02 00 36 00"),        // a peer delay request
            FromHex("1b 02 ff ff 00"),        // an announce whose length lies
            FromHex("1a 02 00 36 00"),        // a follow-up
        };
        Bytes frame = Join({FromHex("01 80 c2 00 00 0e"), stations[0], etherType});
        const Bytes& beginning = beginnings[random() % std::size(beginnings)];
        if (random() % 2 == 0) frame = Join({frame, beginning});
        while (frame.size() < length) frame.push_back(static_cast<uint8_t>(random()));
        frame.resize(length);
        return frame;
    }

    // Sends the frame into port; every so often it waits until the daemon has taken in all of them: a burst that
    // overflows its socket would test nothing.
    void SendIn(int port, const Bytes& frame) {
        wires[port]->Send(frame);
        if (++sent % 50 == 0)
            for (int each : {0, 1}) ExpectAnswer(each);
    }

    // A peer delay request is answered, if need be on the second try.
    void ExpectAnswer(int port) {
        const uint16_t sequence = ++askedSequence;
        const auto answered = [&] {
            wires[port]->Send(PdelayRequest(stations[port], sequence));
            const auto isAnswer = [&](const Bytes& each) {
                return IsGptp(each, pdelayResp) && BigEndianAt(each, gptpSequenceAt, 2) == sequence;
            };
            return wires[port]->WaitForFrame(isAnswer, 0, std::chrono::milliseconds(500)).has_value();
        };
        EXPECT_TRUE(WaitFor(answered)) << Log() << board->Program().Errors();
    }

    // The daemon still works as a bridge: a talker in at port 0 comes out of port 1.
    void ExpectBridging() {
        for (int port : {0, 1}) ExpectAnswer(port);
        SendMsrp(0, {msrpTalker, mrpNew, TalkerValue(Stream())});
        const auto isTold = [this](const Bytes& frame) {
            return Declares(frame, msrpTalker, Stream().id) || Declares(frame, msrpTalkerFailed, Stream().id);
        };
        EXPECT_TRUE(wires[1]->WaitForFrame(isTold)) << Log() << board->Program().Errors();
        EXPECT_TRUE(DaemonLives()) << board->Program().Output() << board->Program().Errors();
    }

    size_t sent = 0;
    uint16_t askedSequence = 0x4000;
    std::mt19937 random{20011};
};

TEST_F(Garbage, OfEveryLengthOnBothPortsDoesNotStopTheDaemon) {
    StartBoard();

    for (size_t length = 14; length <= 1514; length += length < 128 ? 1 : 7)
        for (const auto& etherType : etherTypes)
            for (int port : {0, 1}) SendIn(port, Frame(length, etherType));

    ExpectBridging();
}

TEST_F(Garbage, BehindEveryBeginningOfARealFrameDoesNotStopTheDaemon) {
    StartBoard();
    const Bytes whole[] = {
        MsrpFrame(stations[0], {msrpTalker, mrpLv, TalkerValue(Stream())}),
        MsrpFrame(stations[0], {msrpListener, mrpMt, Stream().id, listenerReady}),
        PdelayRequest(stations[0], 1),
    };

    for (const auto& frame : whole)
        for (size_t length = 14; length < frame.size(); ++length) {
            SendIn(0, Part(frame, 0, length));
            SendIn(1, Join({Part(frame, 0, length), Bytes(40, 0xFF)}));
        }

    ExpectBridging();
}

using CpuInterface = BoardTest;

TEST_F(CpuInterface, GoingDownAndUpAgainLeavesTheDaemonAliveAndListening) {
    StartBoard();
    const auto useOfOneSecond = [this] {
        const auto used = ProcessorTime(daemon);
        const auto begin = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
        return std::chrono::duration<double>(ProcessorTime(daemon) - used) / wall;
    };

    SetInterfaceUp("eth0", false);

    // A loop that spins takes a processor for itself; one that waits hardly anything.
    EXPECT_LT(useOfOneSecond(), 0.3) << Log();
    SetInterfaceUp("eth0", true);
    EXPECT_LT(useOfOneSecond(), 0.3) << Log();

    ASSERT_TRUE(DaemonLives()) << board->Program().Output() << board->Program().Errors();
    const auto answered = [this] {
        wires[0]->Send(PdelayRequest(stations[0], 9));
        return wires[0]->WaitForFrame([](const Bytes& frame) { return IsGptp(frame, pdelayResp); }, 0,
                                      std::chrono::milliseconds(200));
    };
    EXPECT_TRUE(WaitFor([&] { return answered().has_value(); })) << Log();
}

using TaggedGarbage = DaemonTest;

TEST_F(TaggedGarbage, OfEveryLengthFromTheSwitchDoesNotStopTheDaemon) {
    Process& daemon = StartAndWait({"-n", "-d", "SOCKET", "2"});
    Wire cpu("cpu0");
    std::mt19937 random{7};

    for (size_t length = 14; length <= 200; ++length) {
        for (const auto& etherType : etherTypes) {
            Bytes frame = Join({FromHex("01 80 c2 00 00 0e 02 00 00 00 00 01 da da 00 00"),
                                Bytes{0, static_cast<uint8_t>(random()), 0, 0}, etherType});
            while (frame.size() < length) frame.push_back(static_cast<uint8_t>(random()));
            frame.resize(length);
            cpu.Send(frame);
        }
    }
    const size_t before = log.Size();
    cpu.Send(FromHex("01 80 c2 00 00 0e 02 00 00 00 00 01 da da 00 00 00 00 00 00 88 cc 00 00"));

    EXPECT_TRUE(log.WaitForPart(" [SW-LLDP] Handle ", before)) << Log();
    EXPECT_TRUE(daemon.IsRunning()) << daemon.Errors();
    EXPECT_EQ(Stop(daemon), 0) << daemon.Errors();
}

}  // namespace
}  // namespace norvad::test
