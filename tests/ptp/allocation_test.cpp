#include <gtest/gtest.h>

#include "tests/ptp/ptp_fixture.h"
#include "tests/support/allocations/counted_allocations.h"

namespace norvad::test {

namespace {

class Allocation : public PtpFixture {
protected:
    Allocation() {
        fake.ports[0].avbUp = fake.ports[1].avbUp = true;
        fake.keepsSent = false;
        fake.onSend = [this](uint8_t, std::span<const uint8_t>) { ++framesSent; };
        fake.steering.reserve(100);
        kept.identities.reserve(100);
        kept.messages.reserve(100);
    }

    size_t AllocatedBy(Bytes frame) {
        const size_t before = CountedAllocations();
        handler->HandleFrame(frame, ETHERTYPE_PTP2);
        return CountedAllocations() - before;
    }

    size_t framesSent = 0;
};

TEST_F(Allocation, IsNotNeededForAnyFrame) {
    for (const uint8_t type : {uint8_t{0}, uint8_t{2}, uint8_t{3}}) {
        for (const uint8_t port : {uint8_t{0}, uint8_t{1}}) {
            fake.PutStamp(Direction::RECEIVE, port, type, 0, 1'000'000'000);
            fake.PutStamp(Direction::TRANSMIT, port, type, 0, 1'000'000'100);
        }
    }
    auto followUp = BuildFollowUp(peerMac, peer);
    followUp.message.preciseOriginTimestamp = EncodeTimestamp(1'000'000'000);
    auto signaling = Framed<SignalingMessage>{BuildSync({}, {}).ethernet, {}};
    signaling.message.header = BuildSync(peerMac, peer).message.header;
    signaling.message.header.firstByte = static_cast<uint8_t>(PTPMessage::SIGNALING);
    signaling.message.tlvType = ptpTlvOrganizationExtension;
    BecomeSlave();
    framesSent = 0;

    EXPECT_EQ(AllocatedBy(Received(0, BuildPdelayReq(peerMac, peer))), 0U);
    EXPECT_EQ(framesSent, 2U) << "answered";
    EXPECT_EQ(AllocatedBy(Received(0, BuildSync(peerMac, peer))), 0U);
    EXPECT_EQ(framesSent, 3U) << "relayed";
    EXPECT_EQ(AllocatedBy(Received(0, followUp)), 0U);
    EXPECT_EQ(framesSent, 4U) << "relayed";
    EXPECT_EQ(AllocatedBy(AnnounceFrom(0, peer, DatasetOf(1, peer))), 0U);
    EXPECT_EQ(AllocatedBy(AnnounceFrom(0, peer, DatasetOf(0, peer, 100))), 0U);
    EXPECT_EQ(framesSent, 6U) << "relayed";
    EXPECT_EQ(AllocatedBy(Received(0, signaling)), 0U);
}

TEST_F(Allocation, IsNotNeededForAnAnswer) {
    while (framesSent == 0) RunMs(1);  // the first request
    auto response = BuildPdelayResp(peerMac, peer);
    response.message.header.sequenceId = 1;
    response.message.requestingPortIdentity = {own, 0};
    auto followUp = BuildPdelayRespFollowUp(peerMac, peer);
    followUp.frame.message.header.sequenceId = 1;
    followUp.frame.message.requestingPortIdentity = {own, 0};

    EXPECT_EQ(AllocatedBy(Received(0, response)), 0U);
    EXPECT_EQ(AllocatedBy(Received(0, followUp)), 0U);
    ASSERT_NE(Status().find("ST:ANNOUNCE"), std::string::npos) << "the answer was taken";
}

TEST_F(Allocation, IsNotNeededForAPeriodicAction) {
    Control({"-a", "3"});
    RunMs(5000);
    ASSERT_NE(Status().find("ST:MASTER"), std::string::npos);
    framesSent = 0;
    const size_t before = CountedAllocations();
    RunMs(5000);
    EXPECT_EQ(CountedAllocations(), before);
    EXPECT_GE(framesSent, 2U * (4 + 4 + 2 * 38)) << "requests, announces, Sync and Follow_Up on both ports";
}

}  // namespace

}  // namespace norvad::test
