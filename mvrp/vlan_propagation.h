#pragma once

#include <cstdint>

#include "mvrp/mvrpdb.h"

namespace norvad {

class I4DSASocket;
class I4Switch;

// Carries VLANs from the port where they are registered, and of which it becomes a member, to the other ports.
class VlanPropagation {
public:
    VlanPropagation(MVRPDB& database, const I4DSASocket& socket, I4Switch& bridge)
        : database(database), socket(socket), bridge(bridge) {}

    // indication: NEW, JOIN or LV.
    void Propagate(const Vlan& registered, Event indication);

private:
    void ProgramSwitch(const Vlan& registered, Event indication);
    void Declare(const Vlan& registered, Event indication, uint8_t port);
    void Withdraw(const Vlan& registered, uint8_t port);

    MVRPDB& database;
    const I4DSASocket& socket;
    I4Switch& bridge;
};

}  // namespace norvad
