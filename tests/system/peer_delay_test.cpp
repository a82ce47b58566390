#include <algorithm>
#include <chrono>

#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

class PeerDelay : public BoardTest {
protected:
    // The identity of the daemon's port, as 802.1AS makes it from a MAC address.
    Bytes PortIdentity(int port) const {
        const Bytes& mac = VirtualBoard::Address();
        return Join({Part(mac, 0, 3), FromHex("ff fe"), Part(mac, 3, 3), BigEndian(static_cast<uint64_t>(port), 2)});
    }

    std::optional<Bytes> WaitForMessage(int port, GptpMessage message, size_t skipped = 0) {
        return wires[port]->WaitForFrame([=](const Bytes& frame) { return IsGptp(frame, message); }, skipped);
    }

    // The frames that answer a request; it is repeated when a busy machine held the daemon up for longer than the 5 ms
    // after which it owes no follow-up.
    std::optional<std::pair<Bytes, Bytes>> Ask(int port) {
        for (uint16_t sequence = 0x0102; sequence < 0x0112; ++sequence) {
            wires[port]->Send(PdelayRequest(stations[port], sequence));
            const auto answers = [&](GptpMessage message) {
                return [=](const Bytes& frame) {
                    return IsGptp(frame, message) && BigEndianAt(frame, gptpSequenceAt, 2) == sequence;
                };
            };
            const auto response = wires[port]->WaitForFrame(answers(pdelayResp));
            const auto followUp =
                wires[port]->WaitForFrame(answers(pdelayRespFollowUp), 0, std::chrono::milliseconds(1000));
            if (response && followUp) return std::pair{*response, *followUp};
        }
        return {};
    }

    uint64_t TimeIn(const Bytes& frame) const {
        return BigEndianAt(frame, gptpBodyTimeAt + 2, 4) * 1'000'000'000 + BigEndianAt(frame, gptpBodyTimeAt + 6, 4);
    }
};

TEST_F(PeerDelay, RequestsLeaveBothPorts) {
    StartBoard();

    for (int port : {0, 1}) {
        SCOPED_TRACE(port);
        const auto first = WaitForMessage(port, pdelayReq);
        ASSERT_TRUE(first);
        EXPECT_EQ(first->size(), 14U + 54U);
        EXPECT_EQ(Part(*first, 0, 6), FromHex("01 80 c2 00 00 0e"));
        EXPECT_EQ(Part(*first, 6, 6), VirtualBoard::Address());
        EXPECT_EQ(Part(*first, gptpIdentityAt, 10), PortIdentity(port));
        const auto next = wires[port]->WaitForFrame([&](const Bytes& frame) {
            return IsGptp(frame, pdelayReq) &&
                   BigEndianAt(frame, gptpSequenceAt, 2) == BigEndianAt(*first, gptpSequenceAt, 2) + 1;
        });
        EXPECT_TRUE(next);
    }
}

// The daemon has to wait for the time stamps of each answer: a neighbour that floods it gets 128 answers a second after
// a burst of 32, and the neighbour behind the other port, who asks once, its own. It used to answer all that its socket
// held, and nobody else meanwhile.
TEST_F(PeerDelay, AFloodOfRequestsIsAnsweredInPart) {
    StartBoard();
    const auto begin = std::chrono::steady_clock::now();

    for (uint16_t sequence = 1; sequence <= 1'000; ++sequence) wires[0]->Send(PdelayRequest(stations[0], sequence));
    wires[1]->Send(PdelayRequest(stations[1], 1));

    EXPECT_TRUE(WaitForMessage(1, pdelayResp)) << Log();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
    const auto& frames = wires[0]->Received();
    const auto isAnswer = [](const Bytes& frame) { return IsGptp(frame, pdelayResp); };
    const auto answered = static_cast<size_t>(std::count_if(frames.begin(), frames.end(), isAnswer));
    const size_t unstamped = log.Count("[SW-PTP] invalid pdelay incoming timestamp, bail out");
    EXPECT_GE(answered + unstamped, 32U);
    EXPECT_LE(answered + unstamped, 33 + 128 * passed.count());
    EXPECT_TRUE(DaemonLives());
}

TEST_F(PeerDelay, ARequestIsAnsweredInTwoStepsWithTheMakersTrailer) {
    StartBoard();
    for (int port : {0, 1}) {
        SCOPED_TRACE(port);
        const auto answers = Ask(port);
        ASSERT_TRUE(answers) << Log() << board->Program().Output();

        const auto& [response, followUp] = *answers;
        const Bytes asker =
            Join({Part(stations[port], 0, 3), FromHex("ff fe"), Part(stations[port], 3, 3), FromHex("00 01")});
        for (const auto& answer : {response, followUp}) {
            EXPECT_EQ(Part(answer, 0, 6), FromHex("01 80 c2 00 00 0e"));
            EXPECT_EQ(Part(answer, gptpIdentityAt, 10), PortIdentity(port));
            EXPECT_EQ(Part(answer, gptpRequesterAt, 10), asker);
            EXPECT_EQ(BigEndianAt(answer, 16, 2), 54U);        // messageLength
            EXPECT_EQ(Part(answer, 20, 2), FromHex("00 08"));  // two-step flag clear, PTP time scale
        }
        EXPECT_EQ(response.size(), 14U + 54U);
        EXPECT_EQ(followUp.size(), 14U + 54U + 5U);
        EXPECT_EQ(Part(followUp, 14 + 54, 5), FromHex("4f 52 4c 41 00"));
        EXPECT_GE(TimeIn(followUp), TimeIn(response));
        EXPECT_LE(TimeIn(followUp) - TimeIn(response), 5'000'000U);
    }
}

TEST_F(PeerDelay, ACompleteExchangeMakesThePortAsCapableAndSilenceTakesItAway) {
    StartBoard();
    MakeAsCapable(1);
    EXPECT_FALSE(log.Has("[SW-PTP] Port 0 IS AVB capable"));

    Silence(1);

    EXPECT_TRUE(log.WaitForText("[SW-PTP] Port 1 NOT AVB capable")) << Log();
}

TEST_F(PeerDelay, LinkLossTakesAsCapabilityAtOnce) {
    StartBoard({"-n", "-d", "MSRP", "1"});
    MakeAsCapable(1);
    ASSERT_TRUE(log.WaitForText("[SW-MSRP] port 1 AVB up")) << Log();

    SetInterfaceUp("peer1", false);

    EXPECT_TRUE(log.WaitForText("[SW-MSRP] port 1 AVB down")) << Log();
}

TEST_F(PeerDelay, TheBridgesOwnRequestComingBackIsNotAnswered) {
    StartBoard();
    const size_t seen = wires[1]->Received().size();
    const auto request = WaitForMessage(0, pdelayReq);
    ASSERT_TRUE(request);

    wires[1]->Send(*request);

    ASSERT_TRUE(WaitForMessage(1, pdelayReq, seen));  // a later period has come
    EXPECT_FALSE(wires[1]->WaitForFrame([](const Bytes& frame) { return IsGptp(frame, pdelayResp); }, 0,
                                        std::chrono::milliseconds(0)));
}

TEST_F(PeerDelay, AMessageOfAnotherProfileIsRefused) {
    StartBoard();
    Bytes plain = PdelayRequest(stations[0], 7);
    plain[payloadAt] = 0x02;  // transportSpecific 0: a plain IEEE 1588 request

    wires[0]->Send(plain);

    EXPECT_TRUE(log.WaitForText("[SW-PTP] Invalid PTP message on in_port 0")) << Log();
    Bytes management = PdelayRequest(stations[1], 7);
    management[payloadAt] = 0x1D;
    wires[1]->Send(management);
    EXPECT_TRUE(log.WaitForText("[SW-PTP] unsupported PTP message ID 13 on in_port 1")) << Log();
}

}  // namespace
}  // namespace norvad::test
