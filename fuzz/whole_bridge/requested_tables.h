#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "base/mac_address.h"
#include "tests/support/bytes.h"

namespace norvad::fuzz {

// The driver's tables as the daemon asked for them. A request that fails counts as well: it is not made again.
class RequestedTables {
public:
    struct Egress {
        uint32_t parameter = 0;
        int32_t limit = 0;
    };
    struct Group {
        uint8_t port;
        uint32_t vid;
        MacAddress address;
        auto operator<=>(const Group&) const = default;
    };

    // Takes the driver's records since the last time. A membership is asked for only where it changes.
    void Take(const std::vector<test::Bytes>& records);

    // Limits that an operator set are his, whatever is reserved.
    void ForgetEgress(uint8_t port) { egress.erase(port); }

    std::set<Group> groups;                       // stream addresses that leave by a port
    std::set<std::pair<uint8_t, int32_t>> vlans;  // the members: port and VLAN id
    std::map<uint32_t, Egress> egress;            // the last limit of each port

private:
    void Take(const test::Bytes& record);
};

}  // namespace norvad::fuzz
