#pragma once

#include "mrp/mrp_types.h"

namespace norvad {

// The LeaveAll machine of one port, IEEE 802.1Q, 10.7.9.
struct LeaveAll {
    LeaveAllState state = LeaveAllState::PASSIVE;
    TxAction action = TxAction::NONE;  // TX_LA or NONE; set by every step
};

// Runs one event; true when the port's leave-all timer must be restarted.
bool StepLeaveAll(LeaveAll& leaveAll, Event event);

}  // namespace norvad
