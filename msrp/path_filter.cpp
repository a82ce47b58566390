#include "msrp/path_filter.h"

#include "switch/ports.h"

namespace norvad {
namespace {

// The unique id's first byte. 0x1F and 0x2F bind where the host talks, 0x3F and 0x7F where it listens.
constexpr uint8_t hostTalksOnPort0 = 0x1F;
constexpr uint8_t hostTalksOnPort1 = 0x2F;
constexpr uint8_t hostListensOnPort0 = 0x3F;
constexpr uint8_t hostListensOnPort1 = 0x7F;

uint8_t Selector(const StreamID& id) {
    return id[6];
}

bool IsHostTalker(uint8_t selector) {
    return selector == hostTalksOnPort0 || selector == hostTalksOnPort1;
}
bool IsHostListener(uint8_t selector) {
    return selector == hostListensOnPort0 || selector == hostListensOnPort1;
}

// From an external port to the host.
bool HostMayListenTo(uint8_t selector, uint8_t externalPort) {
    if (selector == hostListensOnPort0) return externalPort == 0;
    if (selector == hostListensOnPort1) return externalPort == 1;
    return true;
}

// From the host to an external port.
bool HostMayTalkTo(uint8_t selector, uint8_t externalPort) {
    if (selector == hostTalksOnPort0) return externalPort == 0;
    if (selector == hostTalksOnPort1) return externalPort == 1;
    return true;
}

}  // namespace

Path ListenerPath(const StreamID& id, const PathEnd& listener, const PathEnd& talker, Event event) {
    const uint8_t selector = Selector(id);
    if (!IsHostTalker(selector) && !IsHostListener(selector)) {
        return listener.stpUp && talker.stpUp ? Path::Open : Path::Closed;
    }
    if (listener.port == cpuPort && !IsLocalPort(talker.port)) {
        return HostMayListenTo(selector, talker.port) ? Path::Open : Path::BoundElsewhere;
    }
    if (!IsLocalPort(listener.port) && talker.port == cpuPort) {
        return HostMayTalkTo(selector, listener.port) ? Path::Open : Path::BoundElsewhere;
    }
    if (event == Event::LV) return Path::Open;  // a leave always reaches the talker's side

    const bool open =
        IsHostTalker(selector) ? listener.avbUp && talker.peerIsSameMake : listener.peerIsSameMake && talker.avbUp;
    return open ? Path::Open : Path::Closed;
}

bool TalkerMayCross(const StreamID& id, uint8_t from, uint8_t to) {
    if (IsLocalPort(from) == IsLocalPort(to)) return true;
    return IsLocalPort(to) ? HostMayListenTo(Selector(id), from) : HostMayTalkTo(Selector(id), to);
}

}  // namespace norvad
