#include "ptp/sync_receiver.h"

#include "base/log.h"
#include "ptp/saturate.h"

namespace norvad {

namespace {

constexpr double rateOffsetScale = 2199023255552.0;  // 2^41

}  // namespace

void SyncReceiver::HandleSync(uint8_t port, const Framed<SyncMessage>& frame) {
    log(LogCategory::PTP, 3, "[SW-PTP] Handle PTP_SYNC_MESSAGE on in_port %d\n", port);
    const PTPHeader& header = frame.message.header;
    if (!ptp.socket.IsStpUp(port) || ptp.IsOwn(header)) return;
    if (header.sourcePortIdentity.clockIdentity != ptp.best.sender) {
        log(LogCategory::PTP, 1, "[SW-PTP] SYNC message from unknown clock\n");
        return;
    }
    if (ptp.state.State() != PortState::SLAVE) return;
    PTPPortData& data = ptp.ports.at(port);
    data.syncSequenceId = header.sequenceId;
    ptp.clock.GetRxTimestamps(port, MessageType(PTPMessage::SYNC), header.sequenceId, data.syncReceiveTime,
                              data.syncReceiveClockTime);
    if (data.syncReceiveTime == noTimestamp) {
        log(LogCategory::PTP, 1, "[SW-PTP] invalid sync incoming timestamp, bail out\n");
        return;
    }
    relay.RelaySync(port, frame);
}

void SyncReceiver::HandleFollowUp(uint8_t port, const Framed<FollowUpMessage>& frame) {
    log(LogCategory::PTP, 3, "[SW-PTP] Handle PTP_FOLLOW_UP_MESSAGE on in_port %d\n", port);
    const PTPHeader& header = frame.message.header;
    if (!ptp.socket.IsStpUp(port) || ptp.IsOwn(header)) return;
    if (header.sourcePortIdentity.clockIdentity != ptp.best.sender) {
        log(LogCategory::PTP, 1, "[SW-PTP] FOLLOWUP message from unknown clock\n");
        return;
    }
    watchdogs.TimeArrived();
    if (ptp.state.State() != PortState::SLAVE) return;
    const uint32_t syncSequenceId = ptp.ports.at(port).syncSequenceId;
    if (header.sequenceId != syncSequenceId) {
        log(LogCategory::PTP, 1, "[SW-PTP] invalid sync followup Id syncSequenceID = %d FOLLOWUP sequenceId = %d\n",
            static_cast<int32_t>(syncSequenceId), uint16_t{header.sequenceId});
        return;
    }
    FollowMaster(port, frame);
}

void SyncReceiver::FollowMaster(uint8_t port, const Framed<FollowUpMessage>& frame) {
    const FollowUpMessage& message = frame.message;
    const PTPPortData& data = ptp.ports.at(port);
    const double received = message.information.cumulativeScaledRateOffset / rateOffsetScale;
    cumulativeRateRatioOffset = data.neighborRateRatio != 0 ? data.neighborRateRatio * (1 + received) - 1 : received;

    const uint64_t originTime = DecodeTimestamp(message.preciseOriginTimestamp, message.header.correctionField);
    // Stamps wrap around; the difference is signed.
    const auto offset = static_cast<int64_t>(static_cast<uint64_t>(int64_t{data.meanLinkDelay}) -
                                             data.syncReceiveClockTime + originTime);
    slave.Follow({offset, originTime, data.syncReceiveTime});
    relay.RelayFollowUp(port, frame, originTime, TruncateTo<int32_t>(cumulativeRateRatioOffset * rateOffsetScale));
}

}  // namespace norvad
