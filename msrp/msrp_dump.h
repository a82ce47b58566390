#pragma once

#include <cstdint>

#include "msrp/msrp_wire.h"

namespace norvad {

// Writes a received value out in full, for whoever traces frames (level 3). The event is that of the vector's first
// value.
void DumpTalker(uint8_t port, const TalkerFirstValue& value, uint8_t event);
void DumpTalkerFailed(uint8_t port, const TalkerFailedFirstValue& value, uint8_t event);
void DumpListener(uint8_t port, const ListenerFirstValue& value, uint8_t event, uint8_t declaration);

}  // namespace norvad
