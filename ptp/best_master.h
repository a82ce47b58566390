#pragma once

#include "ptp/announce_sender.h"
#include "ptp/grandmaster_export.h"
#include "ptp/ptp_instance.h"
#include "ptp/received_announce.h"

namespace norvad {

// Selects the best clock: compares what is announced with the best one known and with the local clock, and moves the
// device to the state that follows.
class BestMasterSelection {
public:
    BestMasterSelection(PTPInstance& ptp, AnnounceSender& announcer, GrandmasterExport& exporter)
        : ptp(ptp), announcer(announcer), exporter(exporter) {}

    void BMC(const ReceivedAnnounce& announce);

    // Nobody better was announced while this clock waited: it becomes grandmaster, when its time is over.
    void EndWait();

    // The master fell silent: the local clock is the best one known until another is announced.
    void ForgetMaster();

private:
    void TakeBetter(const ReceivedAnnounce& announce);
    void TakeWorse();
    void StoreForeign(const ReceivedAnnounce& announce);
    void StoreLocal();
    void StorePath(const ReceivedAnnounce& announce);

    PTPInstance& ptp;
    AnnounceSender& announcer;
    GrandmasterExport& exporter;
};

}  // namespace norvad
