#include "ptp/announce_relay.h"

#include <algorithm>
#include <array>

namespace norvad {

namespace {

constexpr size_t largestFrame = 1514 + sizeof(CpuTag);  // Ethernet's, with the tag

}  // namespace

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

}  // namespace norvad
