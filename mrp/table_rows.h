#pragma once

#include <cstddef>

#include "mrp/mrp_types.h"

namespace norvad {

// Whether the rows of a machine's table stand in the order of the events that they name, so that an event is
// the index of its row.
template <typename Table>
constexpr bool RowsAreInEventOrder(const Table& table) {
    if (table.size() != eventCount) return false;
    for (size_t row = 0; row < table.size(); ++row) {
        if (static_cast<size_t>(table[row].event) != row) return false;
    }
    return true;
}

}  // namespace norvad
