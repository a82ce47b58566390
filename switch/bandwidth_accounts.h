#pragma once

#include <cstdint>

#include "switch/port_record.h"

namespace norvad {

class SwitchIoctl;

// The most that may be reserved for streams on a port: 75 % of its speed, in bytes per second.
inline constexpr uint32_t gigabitBandwidthLimit = 93'750'000;
inline constexpr uint32_t fastBandwidthLimit = 9'375'000;

// Keeps the reserved total of each port and tells the driver of every change. All amounts are bytes per second;
// a port beyond the records is ignored. trafficClass reaches the driver unchanged.
class BandwidthAccounts {
public:
    BandwidthAccounts(PortRecords& ports, SwitchIoctl& driver) : ports(ports), driver(driver) {}

    void Add(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond);
    void Substract(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond);
    void Set(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond);
    bool Has(uint8_t port, uint32_t bytesPerSecond) const;

private:
    void Store(uint8_t port, uint32_t trafficClass, uint32_t total);

    PortRecords& ports;
    SwitchIoctl& driver;
};

}  // namespace norvad
