#pragma once

#include <boost/make_shared.hpp>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "msrp/msrp_handler.h"
#include "mvrp/mvrp_handler.h"
#include "switch/switch.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_doors.h"
#include "tests/support/stepped_clock.h"

namespace norvad::bench {

// The doors of a bridge without a kernel. The driver does nothing but count, and what is sent is gone.
class IdleDoors final : public SwitchDoors {
public:
    explicit IdleDoors(const Clock& clock);

    // Of the ports from port 0 on, to be read by the switch's next link update.
    void SetPortLinks(uint32_t links) { others.links.Queue(test::PortLinkMessage(others.interfaceName, links)); }

    uint64_t DriverRequests() const { return driverRequests; }

    std::unique_ptr<DriverSocket> OpenDriver(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<FrameSocket> OpenFrames(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<LinkSocket> OpenLinks() override { return others.OpenLinks(); }
    std::unique_ptr<RequestQueue> OpenRequests() override { return others.OpenRequests(); }

private:
    test::FakeDoors others;
    uint64_t driverRequests = 0;
};

// The daemon's switch, MSRP and MVRP with the first ports up and AS capable, and neighbours there that declare all that
// they get records for: 16,384 talkers, failed talkers, listeners and domains each, and 4,096 VLANs.
class FullBridge {
public:
    explicit FullBridge(uint8_t portsUp);

    // The listeners of a port ask for talkers of the next one, if there are such, and are ready.
    void Fill(uint8_t port);
    void FillAll();

    // What a neighbour declares, by number; streams and VLANs of one port are none of another's.
    static StreamID TalkerId(uint8_t port, uint32_t number);
    static StreamID TalkerFailedId(uint8_t port, uint32_t number);
    static TalkerFirstValue TalkerOf(const StreamID& id);
    static uint16_t VlanId(uint8_t port, uint32_t number);

    // Of the first ports, so many; the others that are up stay so.
    void LoseLinks(uint8_t ports) { SetLinks(test::linkDown, ports); }
    void RegainLinks() { SetLinks(test::linkGigabit, portsUp); }

    // All records there are, MVRP's too.
    uint32_t Records();

    const uint8_t portsUp;
    test::SteppedClock clock;
    IdleDoors doors{clock};
    Switch bridge{"eth0", clock, doors};
    const boost::shared_ptr<MSRPHandler> msrp = boost::make_shared<MSRPHandler>(bridge, bridge, bridge.Timers());
    const boost::shared_ptr<MVRPHandler> mvrp = boost::make_shared<MVRPHandler>(bridge, bridge, bridge.Timers());

private:
    void SetLinks(uint32_t value, uint8_t ports);
};

}  // namespace norvad::bench
