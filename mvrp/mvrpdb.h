#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "mrp/mrp.h"
#include "mvrp/vlan.h"

namespace norvad {

// The records by VLAN id and port: a table of all 65536 ids in pages of 256, which are there while they hold a
// record.
// A lookup is two reads however many VLANs there are; neighbouring ids, which arrive together, lie together.
class VlanIndex {
public:
    explicit VlanIndex(uint8_t portCount) : portCount(portCount) {}

    // Null where there is no record, also beyond the ports.
    Vlan* Find(uint16_t vid, uint8_t port) const {
        const Page& page = pages[vid / pageSize];
        return page.vlans.empty() || port >= portCount ? nullptr : page.vlans[Place(vid, port)];
    }

    // Throws std::out_of_range beyond the ports.
    void Set(uint16_t vid, uint8_t port, Vlan* vlan);

private:
    static constexpr size_t pageSize = 256;
    struct Page {
        std::vector<Vlan*> vlans;  // empty, or a record for each port of each id
        uint32_t count = 0;        // of those that are not null
    };

    size_t Place(uint16_t vid, uint8_t port) const { return vid % pageSize * portCount + port; }

    const uint8_t portCount;
    std::array<Page, 65536 / pageSize> pages;
};

// The VLANs of every port, found by id at a cost that does not depend on how many there are. A port beyond the table
// throws std::out_of_range.
class MVRPDB : public MRP {
public:
    // How many VLANs a neighbour gets records for on a port; what it declares beyond is not carried.
    static constexpr uint32_t maxReceived = 4'096;

    MVRPDB(TimerService& timers, uint8_t portCount) : MRP(timers, portCount), index(portCount) {}

    // The record on a port, or null. The pointer is valid until the record is removed.
    Vlan* FindVlan(uint16_t vid, uint8_t port) const { return index.Find(vid, port); }

    // Feeds an event about a VLAN to its record on the port. An unknown VLAN gets a record only by an event that
    // declares it and, from a neighbour, only while there are fewer than maxReceived; any other is dropped.
    void AddVlan(uint16_t vid, Event event, uint8_t port);

    // Puts a new record, which must not be there yet, at the end of the port's list.
    Vlan& InsertVlan(uint16_t vid, uint8_t port);

protected:
    // Logs the removal and forgets the record; a type that is not MVRP's is only logged.
    void DeleteAttribute(MRPAttribute& attribute) override;

private:
    VlanIndex index;
};

}  // namespace norvad
