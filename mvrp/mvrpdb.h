#pragma once

#include <cstdint>

#include "mrp/mrp.h"
#include "mvrp/vlan.h"
#include "mvrp/vlan_index.h"

namespace norvad {

// The VLANs of every port, found by id at a cost that does not depend on how many there are. A port beyond the table
// throws std::out_of_range.
class MVRPDB : public MRP {
public:
    MVRPDB(TimerService& timers, uint8_t portCount) : MRP(timers, portCount), index(portCount) {}

    // The record on a port, or null. The pointer is valid until the record is removed.
    Vlan* FindVlan(uint16_t vid, uint8_t port) const { return index.Find(vid, port); }

    // Feeds an event about a VLAN to its record on the port. An unknown VLAN gets a record only by an event that
    // declares it; any other is dropped.
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
