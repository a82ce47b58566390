#include "ptp/best_master.h"

#include <algorithm>
#include <cstring>

#include "base/log.h"

namespace norvad {

namespace {

// Worse than any clock that is announced.
ClockDataset WorstDataset() {
    ClockDataset worst;
    std::memset(&worst, 0xFF, sizeof(worst));
    return worst;
}

void CheckPathLength(const AnnounceMessage& message) {
    const int stepsRemovedLow = message.dataset.stepsRemoved & 0xFF;
    if (message.lengthField == (stepsRemovedLow + 1) * 8) return;
    log(LogCategory::PTP, 0, "got invalid TLV: localStepsRemovedLo = %d TLV lengthField = %d", stepsRemovedLow,
        uint16_t{message.lengthField});
}

void ReportBetterClock(const ClockDataset& clock) {
    const ClockIdentity& id = clock.grandmasterIdentity;
    log(LogCategory::PTP, 1,
        "[SW-PTP] Found a better clock announced from ClockIdentity 0x%02x%02x%02x%02x%02x%02x%02x%02x\nP1 = %d P2 = "
        "%d\n",
        id[0], id[1], id[2], id[3], id[4], id[5], id[6], id[7], clock.priority1, clock.priority2);
}

}  // namespace

void BestMasterSelection::BMC(const ReceivedAnnounce& announce) {
    log(LogCategory::PTP, 2, "[SW-PTP] BMC\n");
    const ClockDataset& announced = announce.frame.message.dataset;
    if (announced == ptp.best.dataset) {
        watchdogs.BestClockAnnounced();
        return;
    }
    if (watchdogs.AnnouncingStopped()) {
        ptp.best.dataset = WorstDataset();
        log(LogCategory::PTP, 1, "[SW-PTP] PTP GM clock stopped announcing, resetting master\n");
    }
    if (announced < ptp.best.dataset)
        TakeBetter(announce);
    else if (announced > ptp.best.dataset)
        TakeWorse();
}

void BestMasterSelection::TakeBetter(const ReceivedAnnounce& announce) {
    StoreForeign(announce);
    CheckPathLength(announce.frame.message);
    ReportBetterClock(ptp.best.dataset);
    if (ptp.state.MayBecomeGrandmaster() && ptp.local.dataset <= ptp.best.dataset) {
        StoreLocal();
        log(LogCategory::PTP, 1, "[SW-PTP] local clock is still better\n");
        ptp.state.Step(PortStateEvent::LOCAL_IS_BETTER);
        announcer.PTPAnnounceAction();
        exporter.SendGrandmasterId();
        return;
    }
    log(LogCategory::PTP, 1, "[SW-PTP] local clock is worse\n");
    ptp.state.Step(PortStateEvent::FOREIGN_IS_BETTER);
    exporter.SendGrandmasterId();
    watchdogs.BestClockAnnounced();
}

void BestMasterSelection::TakeWorse() {
    if (!ptp.state.Heeds(PortStateEvent::FOREIGN_IS_WORSE)) return;
    log(LogCategory::PTP, 1, "[SW-PTP] foreign clock is worse\n");
    ptp.state.Step(PortStateEvent::FOREIGN_IS_WORSE);
    StoreLocal();
    announcer.PTPAnnounceAction();
    exporter.SendGrandmasterId();
}

void BestMasterSelection::PTPCheckTrafficAction() {
    log(LogCategory::PTP, 4, "[SW-PTP] PTPCheckTrafficAction\n");
    if (ptp.state.State() == PortState::SLAVE) return CheckMaster();
    if (ptp.state.State() == PortState::ANNOUNCE) CheckWait();
}

// The grandmaster that was told to others stays theirs until another one is selected.
void BestMasterSelection::CheckMaster() {
    if (watchdogs.TimeStopped()) {
        log(LogCategory::PTP, 0, "[SW-PTP] No sync coming in\n");
        ptp.best = {ptp.local.dataset, ptp.local.identity};
        ptp.state.Step(PortStateEvent::SYNC_STOPPED);
    }
    watchdogs.CheckMaster();
}

void BestMasterSelection::CheckWait() {
    watchdogs.CheckWait();
    if (!watchdogs.WaitIsOver() || !ptp.state.Step(PortStateEvent::NO_BETTER_ANNOUNCED)) return;
    StoreLocal();
    exporter.SendGrandmasterId();
}

void BestMasterSelection::StoreForeign(const ReceivedAnnounce& announce) {
    const AnnounceMessage& message = announce.frame.message;
    ptp.best = {message.dataset, message.header.sourcePortIdentity.clockIdentity};
    ptp.grandmaster.clockNumber = ClockNumber(message.dataset.grandmasterIdentity);
    ptp.grandmaster.domainNumber = message.header.domainNumber;
    StorePath(announce);
}

void BestMasterSelection::StoreLocal() {
    ptp.best = {ptp.local.dataset, ptp.local.identity};
    ptp.grandmaster.clockNumber = ClockNumber(ptp.local.identity);
    ptp.grandmaster.domainNumber = ptpDomain;
    ptp.grandmaster.pathCount = 1;
    ptp.grandmaster.path[0] = ClockNumber(ptp.local.identity);
}

// Of a path too long for the record the front is kept, and this clock stays the last entry all the same.
void BestMasterSelection::StorePath(const ReceivedAnnounce& announce) {
    const size_t count = std::min(announce.PathCount(), grandmasterPathCapacity - 1);
    for (size_t entry = 0; entry < count; ++entry) {
        ptp.grandmaster.path[entry] = ClockNumber(announce.PathEntry(entry));
    }
    ptp.grandmaster.path[count] = ClockNumber(ptp.local.identity);
    ptp.grandmaster.pathCount = static_cast<uint16_t>(count + 1);
}

}  // namespace norvad
