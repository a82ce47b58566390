#include "ptp/grandmaster_export.h"

#include "base/log.h"

namespace norvad {

void GrandmasterExport::SendGrandmasterId() {
    log(LogCategory::PTP, 1, "[SW-PTP] SendGrandmasterId\n");
    output.WriteIdentity(best.dataset.grandmasterIdentity);
    if (grandmaster.clockNumber != 0) output.Send(grandmaster);
}

}  // namespace norvad
