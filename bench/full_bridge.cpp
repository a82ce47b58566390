#include "bench/full_bridge.h"

namespace norvad::bench {

namespace {

class CountingDriver final : public DriverSocket {
public:
    explicit CountingDriver(uint64_t& requests) : requests(requests) {}

    MacAddress HardwareAddress() const override { return {0x02, 0, 0, 0, 0x10, 0x01}; }
    bool Request(std::span<uint8_t>) override {
        ++requests;
        return true;
    }

private:
    uint64_t& requests;
};

StreamID StreamNumber(uint8_t port, uint8_t kind, uint32_t number) {
    return {0x02, 0, 0, port, kind, 0, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}

}  // namespace

IdleDoors::IdleDoors(const Clock& clock) : others(clock) {
    others.frames.carry = [](std::span<const uint8_t>) {};
}

std::unique_ptr<DriverSocket> IdleDoors::OpenDriver(const std::string& interfaceName, uint16_t) {
    others.interfaceName = interfaceName;
    return std::make_unique<CountingDriver>(driverRequests);
}

std::unique_ptr<FrameSocket> IdleDoors::OpenFrames(const std::string& interfaceName, uint16_t protocol) {
    return others.OpenFrames(interfaceName, protocol);
}

FullBridge::FullBridge(uint8_t portsUp) : portsUp(portsUp) {
    bridge.Dispatcher().AddHandler(msrp);
    bridge.Dispatcher().AddHandler(mvrp);
    RegainLinks();
    for (uint8_t port = 0; port < portsUp; ++port) bridge.SetAsCapable(port, true, false);
}

void FullBridge::Fill(uint8_t port) {
    const auto next = static_cast<uint8_t>((port + 1) % portsUp);
    const BridgeID someBridge = {0x80, 0, 2, 0, 0, 0, 0, port};
    for (uint32_t n = 0; n < MSRPDB::maxReceived; ++n) {
        msrp->AddTalker(TalkerOf(TalkerId(port, n)), Event::RJOIN_IN, port);
        msrp->AddTalkerFailed({TalkerOf(TalkerFailedId(port, n)), someBridge, 1}, Event::RJOIN_IN, port);
        msrp->AddListener(TalkerId(next, n), ListenerDeclaration::READY, Event::RJOIN_IN, port);
        msrp->AddDomain({7, 1, static_cast<uint16_t>(n)}, Event::RJOIN_IN, port);
    }
    for (uint32_t n = 0; n < MVRPDB::maxReceived; ++n) mvrp->AddVlan(VlanId(port, n), Event::RJOIN_IN, port);
}

void FullBridge::FillAll() {
    for (uint8_t port = 0; port < portsUp; ++port) Fill(port);
}

StreamID FullBridge::TalkerId(uint8_t port, uint32_t number) {
    return StreamNumber(port, 1, number);
}

StreamID FullBridge::TalkerFailedId(uint8_t port, uint32_t number) {
    return StreamNumber(port, 2, number);
}

TalkerFirstValue FullBridge::TalkerOf(const StreamID& id) {
    return {id, {0x91, 0xE0, id[3], id[4], id[6], id[7]}, 2, 100, 1, 0x70, 5000};
}

uint16_t FullBridge::VlanId(uint8_t port, uint32_t number) {
    return static_cast<uint16_t>(port * MVRPDB::maxReceived + number);
}

uint32_t FullBridge::Records() {
    uint32_t records = 0;
    for (uint8_t port = 0; port < bridge.GetMaxPorts(); ++port) {
        for (MRP* mrp : {static_cast<MRP*>(msrp.get()), static_cast<MRP*>(mvrp.get())})
            mrp->ForEach(port, [&](MRPAttribute&) { ++records; });
    }
    return records;
}

void FullBridge::SetLinks(uint32_t value, uint8_t ports) {
    uint32_t links = 0;
    for (uint8_t port = 0; port < portsUp; ++port) links |= (port < ports ? value : test::linkGigabit) << 4 * port;
    doors.SetPortLinks(links);
    bridge.UpdateLinks();
}

}  // namespace norvad::bench
