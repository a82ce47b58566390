#include "ptp/announce.h"

#include <algorithm>
#include <array>

#include "base/log.h"
#include "ptp/message_builder.h"

namespace norvad {

namespace {

constexpr size_t largestFrame = 1514 + sizeof(CpuTag);  // Ethernet's, with the tag

}  // namespace

std::optional<ReceivedAnnounce> ReadAnnounce(std::span<const uint8_t> frame) {
    const auto fixed = Take<Framed<AnnounceMessage>>(frame);
    if (!fixed) return {};
    const size_t arrived = std::min<size_t>(fixed->message.lengthField, frame.size());
    return ReceivedAnnounce{*fixed, frame.first(arrived - arrived % sizeof(ClockIdentity))};
}

void RelayAnnounce(PTPInstance& ptp, uint8_t fromPort, const ReceivedAnnounce& received) {
    const size_t pathLength = received.path.size() + sizeof(ClockIdentity);
    const size_t frameLength = sizeof(received.frame) + pathLength;
    if (frameLength > largestFrame) return;

    auto relayed = received.frame;
    AnnounceMessage& message = relayed.message;
    message.header.sourcePortIdentity.clockIdentity = ptp.local.identity;
    message.header.messageLength = static_cast<uint16_t>(sizeof(AnnounceMessage) + pathLength);
    message.dataset.stepsRemoved = static_cast<uint16_t>(message.dataset.stepsRemoved + 1);
    message.lengthField = static_cast<uint16_t>(pathLength);

    std::array<uint8_t, largestFrame> buffer;
    const auto behind = std::copy(received.path.begin(), received.path.end(), buffer.begin() + sizeof(relayed));
    std::copy(ptp.local.identity.begin(), ptp.local.identity.end(), behind);
    ptp.ForEachPort([&](uint8_t port) {
        if (port == fromPort || !ptp.Participates(port)) return;
        message.header.sourcePortIdentity.portNumber = port;
        (void)Put(buffer, 0, relayed);
        ptp.socket.write(port, buffer.data(), frameLength);
    });
}

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
