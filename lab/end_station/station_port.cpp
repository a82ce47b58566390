#include "lab/end_station/station_port.h"

#include "lab/common/errors.h"

namespace norvad::station {

using namespace lab;

namespace {

std::optional<uint64_t> TimeOf(const FrameStamps& stamps) {
    if (!stamps.softwareNs) return {};
    return static_cast<uint64_t>(*stamps.softwareNs);
}

}  // namespace

StationPort::StationPort(const std::string& interface)
    : interface(interface), address(InterfaceAddress(interface)), port(interface, {.tagsBeside = true}) {}

bool StationPort::Send(std::span<const uint8_t> frame) {
    if (port.Send(frame)) return true;
    ThrowIfGone();
    return false;
}

Departure StationPort::SendStamped(std::span<const uint8_t> frame) {
    while (port.ReceiveSent()) {  // stamps of earlier frames, too late for them
    }
    if (!port.SendStamped(frame)) {
        ThrowIfGone();
        return {};
    }
    constexpr int longestWaitMs = 2;
    port.WaitForSent(longestWaitMs);
    const auto sent = port.ReceiveSent();
    return {true, sent ? TimeOf(sent->stamps) : std::nullopt};
}

void StationPort::Receive(const std::function<void(const ReceivedFrame&)>& take) {
    constexpr int burst = 64;
    const bool isForAStamp = port.ReceiveSent().has_value();  // one that came late keeps the socket ready
    for (int i = 0; i < burst; ++i) {
        const auto frame = port.Receive();
        if (!frame) {
            if (i == 0 && !isForAStamp) ThrowIfGone();
            return;
        }
        take({frame->bytes, frame->tag, TimeOf(frame->stamps)});
    }
}

// An interface that only went down comes back; one that was removed does not, though both read alike.
void StationPort::ThrowIfGone() const {
    if (!port.HasInterface()) throw StartError("interface " + interface + " is gone");
}

}  // namespace norvad::station
