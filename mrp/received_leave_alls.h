#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

#include "mrp/attribute_lists.h"
#include "mrp/mrp.h"

namespace norvad {

// The LeaveAlls of one received PDU. Each goes over all that the port has of its type, and a PDU has room for hundreds.
// The first of each type always counts; a further one only until all together have gone over so many attributes, which
// a neighbour with as many LeaveAlls as types, or with fewer streams than a thousand, never reaches.
class ReceivedLeaveAlls {
public:
    static constexpr size_t mostReached = 65'536;

    void Apply(MRP& database, uint8_t port, uint8_t type) {
        if (taken[type] && reached >= mostReached) return;
        taken.set(type);
        reached += database.ApplyToType(port, type, Event::RLA);
    }

private:
    std::bitset<AttributeLists::typeCount + 1> taken;
    size_t reached = 0;
};

}  // namespace norvad
