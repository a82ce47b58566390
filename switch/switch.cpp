#include "switch/switch.h"

#include <cstring>
#include <numeric>

#include "base/log.h"

namespace norvad {

namespace {

constexpr uint8_t linkBits = 0xB;  // link up and speed code of a port's 4-bit link value
constexpr uint8_t stpBit = 0x4;

}  // namespace

Switch::Switch(const std::string& interfaceName, Clock& clock, SwitchDoors& doors)
    : timers(clock),
      driver(doors.OpenDriver(interfaceName, ETHERTYPE_TAG), clock),
      interfaceName(interfaceName),
      tagEtherType(ETHERTYPE_TAG),
      ports(portCount),
      bandwidth(ports, driver),
      dispatcher(OpenFrames(doors), *this) {
    links = std::make_unique<LinkMonitor>(interfaceName, doors.OpenLinks());
    controlQueue = doors.OpenRequests();
    SeedRandom(clock);
}

// Every frame sent carries the address of the interface.
std::unique_ptr<FrameSocket> Switch::OpenFrames(SwitchDoors& doors) {
    auto frames = doors.OpenFrames(interfaceName, tagEtherType);
    frames->waitForInterface();
    macAddress = frames->HardwareAddress();
    return frames;
}

// Boards that start together must not jitter together.
void Switch::SeedRandom(const Clock& clock) {
    const unsigned addressSum = std::accumulate(macAddress.begin(), macAddress.end(), 0U);
    timers.Random().Seed(addressSum + static_cast<unsigned>(clock.TimeOfDay().tv_usec));
}

void Switch::UpdateLinks() {
    (void)links->read_netlink();
    for (uint8_t port = 0; port < portCount; ++port) UpdateLink(port);
    for (uint8_t port = 0; port < portCount; ++port) UpdateStp(port);
}

void Switch::UpdateLink(uint8_t port) {
    const uint8_t value = links->GetPortLinkState(port);
    const uint8_t linkState = value & linkBits;
    PortRecord& record = ports[port];
    if (record.linkState == linkState) return;
    record.linkState = linkState;
    if (value == 0) record.asCapable = record.peerIsSameMake = 0;
    if (record.IsUp()) {
        dispatcher.PortUp(port);
    } else {
        dispatcher.PortDown(port);
    }
}

void Switch::UpdateStp(uint8_t port) {
    const uint8_t stpState = links->GetPortLinkState(port) & stpBit;
    if (ports[port].stpState == stpState) return;
    ports[port].stpState = stpState;
    if (stpState != 0) {
        dispatcher.PortStpUp(port);
    } else {
        dispatcher.PortStpDown(port);
    }
}

void Switch::EnableVlan(uint8_t port, uint16_t vid) {
    log(LogCategory::IOCTL, 1, "[Switch] EnableVlan %d on port %d\n", vid, port);
    if (port >= ports.size() || !vlanTable.Enable({vid}, port)) return;
    driver.SetPortVlan(PortBit(port), vid, 1);
}

void Switch::DisableVlan(uint8_t port, uint16_t vid) {
    log(LogCategory::IOCTL, 1, "[Switch] DisableVlan %d on port %d\n", vid, port);
    if (port >= ports.size() || !vlanTable.Disable({vid}, port)) return;
    driver.SetPortVlan(PortBit(port), vid, 0);
}

void Switch::EnableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) {
    log(LogCategory::IOCTL, 1, "[Switch] EnableMulticast on port %d vlan %d addr %02x:%02x:%02x:%02x:%02x:%02x\n", port,
        vid, address[0], address[1], address[2], address[3], address[4], address[5]);
    if (port >= ports.size() || !multicastTable.Enable({vid, address}, port)) return;
    driver.SetPortMcast(PortBit(port), vid, address, true);
}

void Switch::DisableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) {
    log(LogCategory::IOCTL, 1, "[Switch] DisableMulticast on port %d vlan %d addr %02x:%02x:%02x:%02x:%02x:%02x\n",
        port, vid, address[0], address[1], address[2], address[3], address[4], address[5]);
    if (port >= ports.size() || !multicastTable.Disable({vid, address}, port)) return;
    driver.SetPortMcast(PortBit(port), vid, address, false);
}

void Switch::AddBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
    bandwidth.Add(port, trafficClass, bytesPerSecond);
}

void Switch::SubstractBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
    bandwidth.Substract(port, trafficClass, bytesPerSecond);
}

void Switch::SetBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
    bandwidth.Set(port, trafficClass, bytesPerSecond);
}

bool Switch::HasBandwidth(uint8_t port, uint32_t bytesPerSecond) const {
    return bandwidth.Has(port, bytesPerSecond);
}

void Switch::SetEgress(uint8_t port, uint32_t bitsPerSecond) {
    log(LogCategory::IOCTL, 2, "[Switch] SetEgress on port %d %d bps\n", port, static_cast<int32_t>(bitsPerSecond));
}

uint64_t Switch::GetSyncTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) {
    uint64_t first, second;
    GetTxTimestamps(port, messageType, sequenceId, first, second);
    return second;
}

uint64_t Switch::GetSyncRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) {
    uint64_t first, second;
    GetRxTimestamps(port, messageType, sequenceId, first, second);
    return second;
}

uint64_t Switch::GetTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) {
    uint64_t first, second;
    GetTxTimestamps(port, messageType, sequenceId, first, second);
    return first;
}

uint64_t Switch::GetRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) {
    uint64_t first, second;
    GetRxTimestamps(port, messageType, sequenceId, first, second);
    return first;
}

void Switch::GetTxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                             uint64_t& second) {
    (void)driver.GetTxTimestamp(port, messageType, sequenceId, first, second);
}

void Switch::GetRxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                             uint64_t& second) {
    (void)driver.GetRxTimestamp(port, messageType, sequenceId, first, second);
}

void Switch::SetClockSteering(int32_t value) {
    log(LogCategory::IOCTL, 5, "[Switch] SetClockSteering %d\n", value);
    driver.SetClockSteering(value);
}

void Switch::SetClock(uint64_t value) {
    log(LogCategory::IOCTL, 5, "[Switch] SetClock %llu\n", static_cast<unsigned long long>(value));
    driver.SetClock(value);
}

void Switch::write(uint8_t port, uint8_t* frame, size_t length) {
    if (!IsPortUp(port) || frame == nullptr || length == 0) return;
    if (length < minimumTaggedFrame) {
        std::memset(frame + length, 0, minimumTaggedFrame - length);
        length = minimumTaggedFrame;
    }
    const std::span<uint8_t> bytes(frame, length);
    Put(bytes, offsetof(TaggedHeader, source), macAddress);
    Put(bytes, offsetof(TaggedHeader, tag), FromCpuTag(port));
    if (dispatcher.Send(frame, length) != static_cast<ssize_t>(length)) {
        log(LogCategory::IOCTL, 0, "[Switch] write error\n");
    }
}

void Switch::writeAllPorts(uint8_t exceptPort, uint8_t* frame, size_t length) {
    for (uint8_t port = 0; port < portCount; ++port) {
        if (port != exceptPort) write(port, frame, length);
    }
}

bool Switch::IsPortUp(uint8_t port) const {
    return port < ports.size() && ports[port].IsUp();
}
bool Switch::IsStpUp(uint8_t port) const {
    return port < ports.size() && ports[port].stpState != 0;
}
bool Switch::IsAvbUp(uint8_t port) const {
    return port < ports.size() && ports[port].avbState != 0;
}
bool Switch::GetPeerIsSameMake(uint8_t port) const {
    return port < ports.size() && ports[port].peerIsSameMake != 0;
}

void Switch::SetAsCapable(uint8_t port, bool capable, bool peerIsSameMake) {
    if (port >= ports.size()) return;
    PortRecord& record = ports[port];
    record.asCapable = capable;
    record.peerIsSameMake = peerIsSameMake;
    if (record.avbState == record.asCapable) return;
    record.avbState = record.asCapable;
    if (capable) {
        dispatcher.PortAvbUp(port);
    } else {
        dispatcher.PortAvbDown(port);
    }
}

}  // namespace norvad
