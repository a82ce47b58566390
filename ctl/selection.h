#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "ctl/streams.h"

namespace norvad::ctl {

// What of a list the user wants to see.
struct Selection {
    std::optional<unsigned> port;
    std::optional<Id> stream;
    size_t offset = 0;  // of those that the filters leave
    size_t limit = SIZE_MAX;
};

inline bool Selects(const Selection& selection, const Stream& stream) {
    return (!selection.port || stream.IsOn(*selection.port)) && (!selection.stream || stream.id == *selection.stream);
}
inline bool Selects(const Selection& selection, const Port& port) {
    return !selection.port || port.number == *selection.port;
}

// Vlan and Domain.
template <typename Record>
bool Selects(const Selection& selection, const Record& record) {
    return !selection.port || record.port == *selection.port;
}

template <typename Item>
std::vector<Item> Filter(const Selection& selection, std::vector<Item> items) {
    std::erase_if(items, [&](const Item& item) { return !Selects(selection, item); });
    return items;
}

template <typename Item>
std::vector<Item> Page(const Selection& selection, const std::vector<Item>& items) {
    const size_t begin = std::min(selection.offset, items.size());
    const size_t count = std::min(selection.limit, items.size() - begin);
    return {items.begin() + static_cast<ptrdiff_t>(begin), items.begin() + static_cast<ptrdiff_t>(begin + count)};
}

}  // namespace norvad::ctl
