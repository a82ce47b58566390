#pragma once

#include "mrp/mrp_attribute.h"

namespace norvad {

// Ticks of the leave timer from a Leave to the end of the registration; one tick is 200 ms.
inline constexpr int8_t leaveTimerTicks = 5;
inline constexpr int8_t leaveTimerStopped = -1;

// The Registrar, IEEE 802.1Q, 10.7.8, as this bridge runs it. Runs one event, stores the indication, starts or stops
// the leave timer and returns the new state, which the caller stores.
RegistrarState StepRegistrar(MRPAttributeState& attribute, Event event);

}  // namespace norvad
