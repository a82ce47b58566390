#include "ptp/sync_master.h"

#include "base/log.h"
#include "ptp/message_builder.h"

namespace norvad {

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

}  // namespace norvad
