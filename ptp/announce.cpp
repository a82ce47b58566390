#include "ptp/announce.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/log.h"
#include "ptp/message_builder.h"

namespace norvad {

namespace {

constexpr size_t largestFrame = 1514 + sizeof(CpuTag);  // Ethernet's, with the tag

void ReportLoss(size_t pathEntries) {
    log(LogCategory::PTP, 0, "[SW-PTP] Announce with %d path entries does not fit a frame\n",
        static_cast<int32_t>(pathEntries));
}

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
    bool& loses = ptp.ports.at(fromPort).losesAnnounces;
    const bool lostBefore = std::exchange(loses, frameLength > largestFrame);
    if (loses) {
        if (!lostBefore) ReportLoss(pathLength / sizeof(ClockIdentity));
        return;
    }

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
