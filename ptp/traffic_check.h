#pragma once

#include "ptp/best_master.h"
#include "ptp/ptp_instance.h"

namespace norvad {

// Every 2000 ms: a slave whose master fell silent gives it up, a clock that bids to be grandmaster becomes it when
// nobody better has turned up.
void PTPCheckTrafficAction(PTPInstance& ptp, BestMasterSelection& selection);

}  // namespace norvad
