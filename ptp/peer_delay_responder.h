#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"
#include "ptp/ptp_messages.h"

namespace norvad {

// The neighbour's side of the peer delay exchange: answers its requests.
class PeerDelayResponder {
public:
    explicit PeerDelayResponder(PTPInstance& ptp) : ptp(ptp) {}

    void HandleRequest(uint8_t port, const PdelayReqMessage& message);

private:
    void SendResponse(uint8_t port, const PTPHeader& request, uint64_t receiveTime);
    void SendFollowUp(uint8_t port, const PTPHeader& request, uint64_t sendTime);

    PTPInstance& ptp;
};

}  // namespace norvad
