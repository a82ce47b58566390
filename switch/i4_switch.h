#pragma once

#include <cstdint>

#include "base/mac_address.h"

namespace norvad {

// The switch as MSRP and MVRP program it. A port number beyond the records is ignored by every operation
// and answered with false by every query.
class I4Switch {
public:
    virtual ~I4Switch() = default;

    // Membership of port in a VLAN; the driver hears only of real changes.
    virtual void EnableVlan(uint8_t port, uint16_t vid) = 0;
    virtual void DisableVlan(uint8_t port, uint16_t vid) = 0;

    // Whether frames to address in VLAN vid leave by port; the driver hears only of real changes.
    virtual void EnableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) = 0;
    virtual void DisableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) = 0;

    // Reserves bytesPerSecond more on port for streams and tells the driver the new total. Past 75 % of
    // the link's speed it logs an error and changes nothing. trafficClass reaches the driver unchanged.
    virtual void AddBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) = 0;

    // Gives bytesPerSecond back, with no check for going below zero, and tells the driver the new total.
    virtual void SubstractBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) = 0;

    // Sets the port's reservation as it stands, without a limit; an unchanged value does nothing. MSRP
    // passes a VLAN id as trafficClass.
    virtual void SetBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) = 0;

    // Whether bytesPerSecond more would still fit.
    virtual bool HasBandwidth(uint8_t port, uint32_t bytesPerSecond) const = 0;

    // Only logged; nothing is programmed.
    virtual void SetEgress(uint8_t port, uint32_t bitsPerSecond) = 0;

    // 6 bytes each, valid as long as the switch.
    virtual const uint8_t* GetMacAddress() const = 0;
    virtual const uint8_t* GetSecondAddress() const = 0;
};

}  // namespace norvad
