#pragma once

#include <cstdint>
#include <memory>

#include "base/mac_address.h"
#include "switch/doors.h"

namespace norvad {

class Clock;

// The requests of the switch driver: multicast filters, VLAN membership, egress limits, time stamps and the
// hardware clock. A request that fails is logged and otherwise ignored.
class SwitchIoctl {
public:
    // The clock passes the time between two tries for a time stamp.
    SwitchIoctl(std::unique_ptr<DriverSocket> socket, Clock& clock);

    // Whether frames to address in VLAN vid leave by the ports of portMask (bit n: port n).
    void SetPortMcast(uint32_t portMask, uint32_t vid, const MacAddress& address, bool add);

    // state 1: the ports are members, 0: they are not.
    void SetPortVlan(int32_t portMask, int32_t vid, int32_t state);

    // The limit reaches the driver as it is: a total in bytes per second from the reservations, a percentage
    // from an operator. So does the parameter: a traffic class or a VLAN id.
    void SetEgressLimit(uint32_t port, uint32_t parameter, int32_t limit);

    void QueryAleStatus();  // the driver prints its address table; nothing is read back

    // The stamp of one PTP message in nanoseconds, of the hardware first and of the steered clock second. The
    // hardware may need a moment, so up to 4 tries are made, with 1 ms before each of a transmit stamp and 2 ms
    // between those of a receive stamp. 0 on success; else -1, both times all ones.
    int GetTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first, uint64_t& second);
    int GetRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first, uint64_t& second);

    void SetClock(uint64_t value);         // ns by which the clock is stepped, two's complement
    void SetClockSteering(int32_t value);  // 0: no correction

    const MacAddress& InterfaceMac() const { return interfaceMac; }
    const MacAddress& DerivedMac() const { return derivedMac; }  // the interface's plus one

private:
    std::unique_ptr<DriverSocket> socket;
    Clock& clock;
    MacAddress interfaceMac;
    MacAddress derivedMac;
};

// The address after base: a carry goes from the last byte into the fifth and no further.
MacAddress NextMac(const MacAddress& base);

}  // namespace norvad
