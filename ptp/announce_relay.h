#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"
#include "ptp/received_announce.h"

namespace norvad {

// Hands an Announce on to the other ports, one step further and with this clock at the end of its path. One whose
// path has grown beyond what a frame holds goes no further.
void RelayAnnounce(PTPInstance& ptp, uint8_t fromPort, const ReceivedAnnounce& received);

}  // namespace norvad
