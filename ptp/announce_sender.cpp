#include "ptp/announce_sender.h"

#include "base/log.h"
#include "ptp/message_builder.h"

namespace norvad {

void AnnounceSender::PTPAnnounceAction() {
    log(LogCategory::PTP, 4, "[SW-PTP] PTPAnnounceAction\n");
    const PortState state = ptp.state.State();
    if (state != PortState::ANNOUNCE && state != PortState::MASTER) return;
    ++sequenceId;
    auto announce = BuildAnnounce(ptp.macAddress, ptp.local.identity);
    PTPHeader& header = announce.frame.message.header;
    header.sequenceId = sequenceId;
    announce.frame.message.dataset = ptp.local.dataset;
    ptp.ForEachPort([&](uint8_t port) {
        if (!ptp.Participates(port)) return;
        header.sourcePortIdentity.portNumber = port;
        SendFrame(ptp.socket, port, announce);
    });
}

}  // namespace norvad
