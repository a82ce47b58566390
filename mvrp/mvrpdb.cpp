#include "mvrp/mvrpdb.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "base/log.h"
#include "mrp/listing.h"

namespace norvad {

namespace {

void LogAdd(const Vlan& vlan) {
    if (!IsLogged(LogCategory::MVRP, 1)) return;
    log(LogCategory::MVRP, 1, "[SW-MVRP] (%p) Port(%d) Add: %s %s\n", static_cast<const void*>(&vlan), vlan.port,
        vlan.Text().c_str(), StateText(vlan).c_str());
}

}  // namespace

void VlanIndex::Set(uint16_t vid, uint8_t port, Vlan* vlan) {
    if (port >= portCount) throw std::out_of_range("port of a VLAN");
    Page& page = pages[vid / pageSize];
    if (page.vlans.empty()) page.vlans.resize(pageSize * portCount);
    const Vlan* before = std::exchange(page.vlans[Place(vid, port)], vlan);
    if (vlan && !before) ++page.count;
    if (!vlan && before) --page.count;
    if (page.count == 0) page = {};
}

void MVRPDB::AddVlan(uint16_t vid, Event event, uint8_t port) {
    Vlan* vlan = FindVlan(vid, port);
    if (vlan == nullptr) {
        if (!MayIntroduce(event, port, Vlan::attributeType, maxReceived)) return;
        vlan = &InsertVlan(vid, port);
        Introduced(*vlan, event);
        LogAdd(*vlan);
    }
    RunAttributeStateMachines(vlan, port, event);
}

// A VLAN is declared again every second: its registration must outlive a lost frame without waiting for a LeaveAll.
Vlan& MVRPDB::InsertVlan(uint16_t vid, uint8_t port) {
    constexpr bool periodic = true;
    auto& vlan = static_cast<Vlan&>(Insert(std::make_unique<Vlan>(vid, port), periodic));
    index.Set(vid, port, &vlan);
    return vlan;
}

void MVRPDB::DeleteAttribute(MRPAttribute& attribute) {
    if (attribute.type != Vlan::attributeType) {
        log(LogCategory::MVRP, 0, "DeleteAttribute request for unknown attribute type %d\n", attribute.type);
        return;
    }
    const auto& vlan = static_cast<Vlan&>(attribute);
    if (IsLogged(LogCategory::MVRP, 0)) {
        log(LogCategory::MVRP, 0, "[SW-MVRP] Port(%d) Remove VLAN %s \n", vlan.port, vlan.Text().c_str());
    }
    index.Set(vlan.Vid(), vlan.port, nullptr);
}

}  // namespace norvad
