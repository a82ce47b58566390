#pragma once

#include "switch/doors.h"

namespace norvad {

class Clock;

// The doors of the running kernel.
class KernelDoors final : public SwitchDoors {
public:
    explicit KernelDoors(Clock& clock) : clock(clock) {}  // passes the time while waiting for the interface

    std::unique_ptr<DriverSocket> OpenDriver(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<FrameSocket> OpenFrames(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<LinkSocket> OpenLinks() override;
    std::unique_ptr<RequestQueue> OpenRequests() override;

private:
    Clock& clock;
};

}  // namespace norvad
