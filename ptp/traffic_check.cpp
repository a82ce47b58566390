#include "ptp/traffic_check.h"

#include "base/log.h"

namespace norvad {

namespace {

void CheckMaster(PTPInstance& ptp, BestMasterSelection& selection) {
    if (ptp.state.syncWatchdog < 0) {
        log(LogCategory::PTP, 0, "[SW-PTP] No sync coming in\n");
        selection.ForgetMaster();
    }
    --ptp.state.syncWatchdog;
    --ptp.state.announceWatchdog;
}

void CheckWait(PTPInstance& ptp, BestMasterSelection& selection) {
    --ptp.state.announceWait;
    if (ptp.state.announceWait < 0) selection.EndWait();
}

}  // namespace

void PTPCheckTrafficAction(PTPInstance& ptp, BestMasterSelection& selection) {
    log(LogCategory::PTP, 4, "[SW-PTP] PTPCheckTrafficAction\n");
    if (ptp.state.State() == PortState::SLAVE) return CheckMaster(ptp, selection);
    if (ptp.state.State() == PortState::ANNOUNCE) CheckWait(ptp, selection);
}

}  // namespace norvad
