#pragma once

#include <array>
#include <cstdint>
#include <ctime>

namespace norvad {

// Spaces out the transmit opportunities of one port: never more than three in any 300 ms, a lone one after 1 ms.
class TransmitPacing {
public:
    // Notes a request made now and returns how long its transmission waits, in ms, 1..300.
    uint32_t Request(const timespec& now);

private:
    std::array<timespec, 3> requests = {};  // the last ones, oldest first
};

}  // namespace norvad
