#pragma once

#include "ptp/announce.h"
#include "ptp/grandmaster_export.h"
#include "ptp/ptp_instance.h"
#include "ptp/watchdogs.h"

namespace norvad {

// Selects the best clock: compares what is announced with the best one known and with the local clock, and moves the
// device to the state that follows.
class BestMasterSelection {
public:
    BestMasterSelection(PTPInstance& ptp, Watchdogs& watchdogs, AnnounceSender& announcer, GrandmasterExport& exporter)
        : ptp(ptp), watchdogs(watchdogs), announcer(announcer), exporter(exporter) {}

    void BMC(const ReceivedAnnounce& announce);

    // Every 2000 ms: a slave whose master fell silent gives it up, a clock that bids to be grandmaster becomes it when
    // nobody better has turned up.
    void PTPCheckTrafficAction();

private:
    void CheckMaster();
    void CheckWait();
    void TakeBetter(const ReceivedAnnounce& announce);
    void TakeWorse();
    void StoreForeign(const ReceivedAnnounce& announce);
    void StoreLocal();
    void StorePath(const ReceivedAnnounce& announce);

    PTPInstance& ptp;
    Watchdogs& watchdogs;
    AnnounceSender& announcer;
    GrandmasterExport& exporter;
};

}  // namespace norvad
