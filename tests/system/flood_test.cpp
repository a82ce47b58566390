#include <chrono>
#include <functional>
#include <thread>

#include "tests/support/system/board_test.h"
#include "tests/support/system/flood.h"
#include "tests/support/system/mvrp_frame.h"

namespace norvad::test {
namespace {

using std::chrono::milliseconds;

// The neighbour at port 0 floods the bridge, and the one at port 1 says and asks everything once, as if there were no
// flood: what is lost is lost for good, and missed.
class AFlood : public BoardTest {
protected:
    void StartAsCapable(const std::vector<std::string>& daemonArguments = {"-n"}) {
        StartBoard(daemonArguments);
        for (int port : {0, 1}) MakeAsCapable(port);
    }

    void ExpectNobodyElseToNotice(const std::vector<Bytes>& frames, uint32_t perSecond) {
        const Flood flood("peer0", frames, perSecond, 0);
        for (uint16_t n = 0; n < rounds; ++n) {
            wires[1]->Send(MvrpFrame(stations[1], MvrpMessage({{static_cast<uint16_t>(firstVid + n), {mrpNew}}})));
            wires[1]->Send(PdelayRequest(stations[1], static_cast<uint16_t>(firstSequence + n)));
            std::this_thread::sleep_for(milliseconds(100));
        }

        for (uint16_t n = 0; n < rounds; ++n) {
            SCOPED_TRACE(n);
            ASSERT_TRUE(board->WaitForEvent("vlan add port mask 0x02 vid " + std::to_string(firstVid + n)));
            ASSERT_TRUE(IsAnswered(static_cast<uint16_t>(firstSequence + n)));
        }
        for (const char* port : {"0", "1"})
            EXPECT_FALSE(log.Has(std::string("[SW-PTP] Port ") + port + " NOT AVB capable")) << Log();
        EXPECT_TRUE(DaemonLives()) << board->Program().Errors();
    }

    static std::vector<Bytes> Many(size_t count, const std::function<Bytes(uint16_t)>& frame) {
        std::vector<Bytes> frames;
        for (size_t n = 0; n < count; ++n) frames.push_back(frame(static_cast<uint16_t>(n)));
        return frames;
    }

    // So many successive talkers.
    Bytes Talkers(uint16_t first, size_t count) const {
        StreamText stream = Stream();
        stream.id = Join({stations[0], BigEndian(first, 2)});
        return MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(stream)}, count);
    }

    static constexpr uint16_t firstVid = 4'000;

private:
    bool IsAnswered(uint16_t sequence) {
        const auto isAnswer = [=](const Bytes& frame) {
            return IsGptp(frame, pdelayResp) && BigEndianAt(frame, gptpSequenceAt, 2) == sequence;
        };
        return wires[1]->WaitForFrame(isAnswer).has_value();
    }

    static constexpr uint16_t rounds = 30;
    static constexpr uint16_t firstSequence = 0x4000;
};

// Every answer to a request waits for its stamps, 1 ms at least.
TEST_F(AFlood, OfPeerDelayRequestsIsNoticedByNobodyElse) {
    StartAsCapable();

    ExpectNobodyElseToNotice(Many(1'000, [this](uint16_t n) { return PdelayRequest(stations[0], n); }), 3'000);
}

// So does every Sync that is relayed.
TEST_F(AFlood, OfSyncsOfTheSelectedGrandmasterIsNoticedByNobodyElse) {
    StartAsCapable({"-n", "-d", "PTP", "1"});
    wires[0]->Send(AnnounceOf(stations[0], 1, 1));
    ASSERT_TRUE(log.WaitForText("[SW-PTP] switching to state PTP_SLAVE")) << Log();

    ExpectNobodyElseToNotice(Many(1'000, [this](uint16_t n) { return SyncOf(stations[0], n); }), 3'000);
}

TEST_F(AFlood, OfNewTalkersIsNoticedByNobodyElse) {
    StartAsCapable();

    ExpectNobodyElseToNotice(Many(20'000, [this](uint16_t n) { return Talkers(n, 1); }), 3'000);
}

TEST_F(AFlood, OfFramesFullOfNewTalkersIsNoticedByNobodyElse) {
    StartAsCapable();

    ExpectNobodyElseToNotice(Many(60, [this](uint16_t n) { return Talkers(static_cast<uint16_t>(1'000 * n), 1'000); }),
                             30);
}

TEST_F(AFlood, OfVlansThatComeAndGoIsNoticedByNobodyElse) {
    StartAsCapable();
    const auto all = [this](MrpEvent event) {
        return MvrpFrame(stations[0], MvrpMessage({{2, std::vector<MrpEvent>(firstVid - 2, event)}}));
    };

    ExpectNobodyElseToNotice({all(mrpJoinIn), all(mrpLv)}, 30);
}

// Each is better than the one before, and selected.
TEST_F(AFlood, OfAnnouncesIsNoticedByNobodyElse) {
    StartAsCapable();
    const auto better = [](uint16_t n) {
        return AnnounceOf(Join({FromHex("02 00 00 00"), BigEndian(20'000U - n, 2)}), n, 1);
    };

    ExpectNobodyElseToNotice(Many(20'000, better), 3'000);
}

TEST_F(AFlood, OfAnUnknownProtocolIsNoticedByNobodyElse) {
    StartAsCapable();

    ExpectNobodyElseToNotice({Join({FromHex("01 80 c2 00 00 0e"), stations[0], FromHex("88 b5"), Bytes(46)})}, 3'000);
}

}  // namespace
}  // namespace norvad::test
