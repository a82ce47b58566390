// How a VLAN that is registered on one port reaches the switch and the other ports.

#include "base/log.h"
#include "mvrp/mvrp_handler.h"
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

void MVRPHandler::Propagate(MRPAttribute& attribute, Event indication, uint8_t port) {
    if (attribute.type != Vlan::attributeType) {
        log(LogCategory::MVRP, 0, "Propagate request for unknown attribute type %d\n", attribute.type);
        return;
    }
    const auto& vlan = static_cast<Vlan&>(attribute);
    ProgramSwitch(vlan, indication);
    for (uint8_t other = 0; other < PortCount(); ++other) {
        if (other == port) continue;
        if (indication == Event::LV) {
            Withdraw(vlan, other);  // from a port that is down as well
        } else if (socket.IsPortUp(other)) {
            Declare(vlan, indication, other);
        }
    }
}

void MVRPHandler::ProgramSwitch(const Vlan& vlan, Event indication) {
    if (indication == Event::LV) {
        bridge.DisableVlan(vlan.port, vlan.Vid());
    } else {
        bridge.EnableVlan(vlan.port, vlan.Vid());
    }
}

void MVRPHandler::Declare(const Vlan& registered, Event indication, uint8_t port) {
    const uint8_t source = registered.port;
    const auto create = [&]() -> Vlan& { return InsertVlan(registered.Vid(), port); };
    const auto report = [source](const Vlan& vlan, SourceChange change) { LogPropagation(vlan, source, change); };
    DeclareFrom(*this, FindVlan(registered.Vid(), port), source, indication, create, report);
}

void MVRPHandler::Withdraw(const Vlan& registered, uint8_t port) {
    const uint8_t source = registered.port;
    const auto report = [source](const Vlan& vlan, SourceChange change) { LogPropagation(vlan, source, change); };
    WithdrawFrom(*this, FindVlan(registered.Vid(), port), source, report);
}

}  // namespace norvad
