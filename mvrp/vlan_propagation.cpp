#include "mvrp/vlan_propagation.h"

#include "base/log.h"
#include "mrp/listing.h"
#include "mrp/propagation.h"
#include "switch/i4_dsa_socket.h"
#include "switch/i4_switch.h"

namespace norvad {

namespace {

void LogPropagation(const Vlan& vlan, uint8_t source, SourceChange change) {
    if (!IsLogged(LogCategory::MVRP, 1)) return;
    const void* address = &vlan;
    const std::string text = vlan.Text();
    const std::string state = StateText(vlan);
    switch (change) {
        case SourceChange::Created:
            log(LogCategory::MVRP, 1, "[SW-MVRP] (%p) Port(%d) Propagate from (%d): %s %s\n", address, vlan.port,
                source, text.c_str(), state.c_str());
            return;
        case SourceChange::Added:
            log(LogCategory::MVRP, 1, "[SW-MVRP] (%p) Port(%d) Propagate from (%d): %s %s %d added\n", address,
                vlan.port, source, text.c_str(), state.c_str(), source);
            return;
        case SourceChange::Removed:
            log(LogCategory::MVRP, 1, "[SW-MVRP] (%p) Port(%d) Propagate LV from (%d): %s %s %d removed\n", address,
                vlan.port, source, text.c_str(), state.c_str(), source);
            return;
    }
}

}  // namespace

void VlanPropagation::Propagate(const Vlan& registered, Event indication) {
    ProgramSwitch(registered, indication);
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        if (port == registered.port) continue;
        if (indication == Event::LV) {
            Withdraw(registered, port);  // from a port that is down as well
        } else if (socket.IsPortUp(port)) {
            Declare(registered, indication, port);
        }
    }
}

void VlanPropagation::ProgramSwitch(const Vlan& registered, Event indication) {
    if (indication == Event::LV) {
        bridge.DisableVlan(registered.port, registered.Vid());
    } else {
        bridge.EnableVlan(registered.port, registered.Vid());
    }
}

void VlanPropagation::Declare(const Vlan& registered, Event indication, uint8_t port) {
    const uint16_t vid = registered.Vid();
    const auto create = [&]() -> Vlan& { return database.InsertVlan(vid, port); };
    DeclareFrom(database, database.FindVlan(vid, port), registered.port, indication, create, LogPropagation);
}

void VlanPropagation::Withdraw(const Vlan& registered, uint8_t port) {
    WithdrawFrom(database, database.FindVlan(registered.Vid(), port), registered.port, LogPropagation);
}

}  // namespace norvad
