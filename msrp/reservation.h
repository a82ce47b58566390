#pragma once

#include <cstdint>
#include <unordered_map>

#include "msrp/msrp_attributes.h"

namespace norvad {

class I4Switch;

// The bandwidth of one talker's stream in the unit of the egress limit: 8000 intervals a second, 50 bytes of overhead
// for every frame. Wraps at 32 bits.
uint32_t StreamBandwidth(const TalkerFirstValue& talker);

// What listeners hold of the switch: bandwidth, and the stream's address open on their port. The sum of a port's
// reservations in one VLAN is kept, never added up again.
class Reservations {
public:
    explicit Reservations(I4Switch& bridge) : bridge(bridge) {}

    // Reserves the talker's stream on the listener's port; a listener that holds a reservation keeps it as it is.
    void Reserve(Listener& listener, const TalkerFirstValue& talker);

    // Gives back what the listener holds, if anything.
    void Release(Listener& listener);

private:
    struct Total {
        uint32_t bandwidth = 0;
        uint32_t reservations = 0;
    };

    I4Switch& bridge;
    std::unordered_map<uint32_t, Total> totals;  // by port and VLAN id
};

}  // namespace norvad
