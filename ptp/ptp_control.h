#pragma once

#include <cstdint>
#include <iosfwd>

#include "ptp/announce.h"
#include "ptp/as_capable.h"
#include "ptp/ptp_instance.h"
#include "ptp/slave_clock.h"
#include "ptp/sync.h"
#include "switch/control_options.h"

namespace norvad {

// What the status line shows, all in ns or plain numbers.
struct PTPStatus {
    PortState state;
    BestMaster best;
    int32_t linkDelay[2];
    int32_t filteredOffset;
    int32_t filteredSquare;
    double neighborRateRatio[2];
    double cumulativeRateRatioOffset;
    int32_t windowMode;
};

// One line, flushed.
void PrintStatusLine(const PTPStatus& status, std::ostream& answer);

// The control options of gPTP: shows the status and changes settings at run time.
class PTPControl {
public:
    PTPControl(PTPInstance& ptp, AsCapableDecision& asCapable, AnnounceSender& announcer, const ClockServo& servo,
               const SyncReceiver& receiver)
        : ptp(ptp), asCapable(asCapable), announcer(announcer), servo(servo), receiver(receiver) {}

    static void AddOptions(boost::program_options::options_description& options);
    void HandleOptions(const boost::program_options::variables_map& values, std::ostream& answer);

private:
    void ShowStatus(std::ostream& answer) const;
    void SetWindowMode(int32_t mode);
    void ForceAsCapable(int32_t portMask);
    void SetPriority1(int32_t priority1, std::ostream& answer);

    PTPInstance& ptp;
    AsCapableDecision& asCapable;
    AnnounceSender& announcer;
    const ClockServo& servo;
    const SyncReceiver& receiver;
};

}  // namespace norvad
