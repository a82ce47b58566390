#include "ptp/sync_relay.h"

#include "base/log.h"
#include "ptp/message_builder.h"

namespace norvad {

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

}  // namespace norvad
