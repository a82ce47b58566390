#pragma once

#include <cstdint>

namespace norvad {

// How far the exchange of this peer delay period has come.
enum class PDelayState : int32_t { IDLE, REQUEST_SENT, RESPONSE_RECEIVED, COMPLETE };

// A response as both ends saw it, in ns: sent by the neighbour's clock, received by ours.
struct ResponseTimes {
    uint64_t sent = 0;      // t3
    uint64_t received = 0;  // t4
};

// What gPTP knows of one port. Times are nanoseconds; noTimestamp stands for a stamp that the hardware did not have.
struct PTPPortData {
    bool forcedASCapable = false;  // an operator keeps the port AS capable when responses stop

    uint64_t syncReceiveClockTime = 0;  // the last Sync by the steered clock
    uint64_t syncReceiveTime = 0;       // the last Sync by the hardware's receive stamp
    uint64_t syncSentTime = 0;          // the last Sync that left by this port
    uint32_t syncSequenceId = 0;        // of the last Sync received; beyond 16 bits: none since the last state

    bool losesAnnounces = false;  // those that arrive have a path too long to go on, which was logged

    int32_t missedPdelayResponses = 0;  // periods in a row without a complete exchange
    PDelayState localPDelayState = PDelayState::IDLE;
    int32_t meanLinkDelay = 0;  // ns, filtered; 0 restarts the filter
    bool peerIsSameMake = false;
    uint16_t pdelaySequenceId = 0;             // of the last Pdelay_Req sent
    uint64_t localPDelayReqSentTime = 0;       // t1, ours
    uint64_t foreignPDelayReqReceiveTime = 0;  // t2, the neighbour's
    uint64_t localPDelayRespReceiveTime = 0;   // t4, ours
    uint64_t foreignPDelayRespSentTime = 0;    // t3, the neighbour's

    bool rateWindowStarted = false;  // the two pairs below are of this window
    ResponseTimes previousResponse;  // of the last good exchange
    ResponseTimes firstResponse;     // of the exchange that opened the window
    double neighborRateRatio = 1.0;  // the neighbour's clock rate over ours; 1.0 when unknown

    void RestartRateWindow() {
        rateWindowStarted = false;
        neighborRateRatio = 1.0;
    }

    // A switch of the port state: the link is measured anew and a Sync awaited; the exchange under way goes on.
    void StateSwitched() {
        meanLinkDelay = 0;
        syncSequenceId = 0xFFFFFFFF;
        RestartRateWindow();
    }
};

}  // namespace norvad
