#include "ptp/grandmaster_export.h"

#include "base/log.h"

namespace norvad {

void GrandmasterExport::SendGrandmasterId() {
    log(LogCategory::PTP, 1, "[SW-PTP] SendGrandmasterId\n");
    output.WriteIdentity(ptp.best.dataset.grandmasterIdentity);
    if (ptp.grandmaster.clockNumber != 0) output.Send(ptp.grandmaster);
}

}  // namespace norvad
