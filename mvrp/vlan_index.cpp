#include "mvrp/vlan_index.h"

#include <stdexcept>

namespace norvad {

void VlanIndex::Set(uint16_t vid, uint8_t port, Vlan* vlan) {
    if (port >= portCount) throw std::out_of_range("port of a VLAN");
    Page& page = pages[vid / pageSize];
    if (page.empty()) page.resize(pageSize * portCount);
    page[Place(vid, port)] = vlan;
}

}  // namespace norvad
