#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace norvad {

class Vlan;

// The records by VLAN id and port: a table of all 65536 ids in pages of 256, which are made when first needed and kept.
// A lookup is two reads however many VLANs there are; neighbouring ids, which arrive together, lie together.
class VlanIndex {
public:
    explicit VlanIndex(uint8_t portCount) : portCount(portCount) {}

    // Null where there is no record, also beyond the ports.
    Vlan* Find(uint16_t vid, uint8_t port) const {
        const Page& page = pages[vid / pageSize];
        return page.empty() || port >= portCount ? nullptr : page[Place(vid, port)];
    }

    // Throws std::out_of_range beyond the ports.
    void Set(uint16_t vid, uint8_t port, Vlan* vlan);

private:
    static constexpr size_t pageSize = 256;
    using Page = std::vector<Vlan*>;  // empty, or a record for each port of each id

    size_t Place(uint16_t vid, uint8_t port) const { return vid % pageSize * portCount + port; }

    const uint8_t portCount;
    std::array<Page, 65536 / pageSize> pages;
};

}  // namespace norvad
