#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ptp/as_capable.h"
#include "ptp/ptp_instance.h"
#include "ptp/ptp_messages.h"
#include "ptp/token_bucket.h"

namespace norvad {

class TimerService;

// Our side of the peer delay exchange: asks every second, takes the answers in, evaluates what came of it.
class PeerDelayInitiator {
public:
    PeerDelayInitiator(PTPInstance& ptp, AsCapableDecision& asCapable) : ptp(ptp), asCapable(asCapable) {}

    void PTPPDelayAction();
    void HandleResponse(uint8_t port, const PdelayRespMessage& message);

    // Looks for the trailer behind the message as well.
    void HandleFollowUp(uint8_t port, std::span<const uint8_t> frame, const PdelayRespFollowUpMessage& message);

private:
    void Evaluate(uint8_t port);
    void SendRequests();
    bool TakeResponse(uint8_t port, PTPPortData& data, const PdelayRespMessage& message);
    bool TakeFollowUp(uint8_t port, PTPPortData& data, std::span<const uint8_t> frame,
                      const PdelayRespFollowUpMessage& message);
    void ReportForeignRequester(uint8_t port, const ClockIdentity& requester) const;

    PTPInstance& ptp;
    AsCapableDecision& asCapable;
};

// The neighbour's side of the peer delay exchange: answers its requests. An answer keeps the daemon waiting for time
// stamps for some milliseconds, so requests beyond 128 a second by one port, after a burst of 32, are dropped.
class PeerDelayResponder {
public:
    // The timers tell the time.
    PeerDelayResponder(PTPInstance& ptp, const TimerService& timers)
        : ptp(ptp), timers(timers), allowed(ptp.ports.size(), TokenBucket(requestsPerSecond, requestBurst)) {}

    void HandleRequest(uint8_t port, const PdelayReqMessage& message);

private:
    void SendResponse(uint8_t port, const PTPHeader& request, uint64_t receiveTime);
    void SendFollowUp(uint8_t port, const PTPHeader& request, uint64_t sendTime);

    static constexpr uint32_t requestsPerSecond = 128;
    static constexpr uint32_t requestBurst = 32;

    PTPInstance& ptp;
    const TimerService& timers;
    std::vector<TokenBucket> allowed;  // by port
};

}  // namespace norvad
