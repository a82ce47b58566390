#include "ptp/sync.h"

#include "base/log.h"
#include "base/timer_service.h"
#include "ptp/message_builder.h"
#include "ptp/time_arithmetic.h"

namespace norvad {

namespace {

constexpr double rateOffsetScale = 2199023255552.0;  // 2^41

}  // namespace

void SyncMaster::PTPSyncAction() {
    log(LogCategory::PTP, 4, "[SW-PTP] PTPSyncAction\n");
    if (ptp.state.State() != PortState::MASTER) return;
    ++sequenceId;
    ptp.ForEachPort([this](uint8_t port) {
        if (ptp.socket.IsPortUp(port) && ptp.Participates(port)) SendTime(port);
    });
}

// The port number stays the 1 of the built frames on every port; neighbours tell us apart by the clock identity.
void SyncMaster::SendTime(uint8_t port) {
    auto sync = BuildSync(ptp.macAddress, ptp.local.identity);
    sync.message.header.sequenceId = sequenceId;
    SendFrame(ptp.socket, port, sync);
    const uint64_t sentTime = ptp.clock.GetSyncTxTimestamp(port, MessageType(PTPMessage::SYNC), sequenceId);
    ptp.ports.at(port).syncSentTime = sentTime;

    auto followUp = BuildFollowUp(ptp.macAddress, ptp.local.identity);
    followUp.message.header.sequenceId = sequenceId;
    followUp.message.preciseOriginTimestamp = EncodeTimestamp(sentTime);
    SendFrame(ptp.socket, port, followUp);
}

void SyncRelay::RelaySync(uint8_t fromPort, const Framed<SyncMessage>& received) {
    auto sync = received;
    PTPHeader& header = sync.message.header;
    header.sourcePortIdentity.clockIdentity = ptp.local.identity;
    ptp.ForEachPort([&](uint8_t port) {
        if (port == fromPort || !ptp.Participates(port)) return;
        header.sourcePortIdentity.portNumber = port;
        SendFrame(ptp.socket, port, sync);
    });
    // The stamps are asked for when every frame is on its way, as each may take a while to turn up.
    ptp.ForEachPort([&](uint8_t port) {
        if (port == fromPort || !ptp.Participates(port)) return;
        ptp.ports.at(port).syncSentTime =
            ptp.clock.GetSyncTxTimestamp(port, MessageType(PTPMessage::SYNC), header.sequenceId);
    });
}

void SyncRelay::RelayFollowUp(uint8_t fromPort, const Framed<FollowUpMessage>& received, uint64_t originTime,
                              int32_t cumulativeScaledRateOffset) {
    auto followUp = received;
    PTPHeader& header = followUp.message.header;
    header.sourcePortIdentity.clockIdentity = ptp.local.identity;
    followUp.message.information.cumulativeScaledRateOffset = cumulativeScaledRateOffset;
    ptp.ForEachPort([&](uint8_t port) {
        if (originTime == 0) {
            log(LogCategory::PTP, 0, "[SW-PTP] Invalid FOLLOW_UP coming in\n");
            return;
        }
        if (port == fromPort || !ptp.Participates(port)) return;
        header.correctionField = CorrectedBy(received.message.header.correctionField, fromPort, port);
        header.sourcePortIdentity.portNumber = port;
        SendFrame(ptp.socket, port, followUp);
    });
}

// Unsigned, because stamps and corrections wrap around. The link delay is not scaled by the rate ratio: at the
// lengths in question that is far below a nanosecond.
int64_t SyncRelay::CorrectedBy(int64_t correctionField, uint8_t fromPort, uint8_t toPort) const {
    const PTPPortData& from = ptp.ports.at(fromPort);
    const uint64_t throughNs =
        static_cast<uint64_t>(int64_t{from.meanLinkDelay}) + ptp.ports.at(toPort).syncSentTime - from.syncReceiveTime;
    return static_cast<int64_t>(static_cast<uint64_t>(correctionField) + throughNs * 65536);
}

void SyncReceiver::HandleSync(uint8_t port, const Framed<SyncMessage>& frame) {
    log(LogCategory::PTP, 3, "[SW-PTP] Handle PTP_SYNC_MESSAGE on in_port %d\n", port);
    const PTPHeader& header = frame.message.header;
    if (!ptp.socket.IsStpUp(port) || ptp.IsOwn(header)) return;
    if (header.sourcePortIdentity.clockIdentity != ptp.best.sender) {
        log(LogCategory::PTP, 1, "[SW-PTP] SYNC message from unknown clock\n");
        return;
    }
    if (ptp.state.State() != PortState::SLAVE || !allowed.Take(timers.Monotonic())) return;
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
