#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"
#include "ptp/ptp_messages.h"

namespace norvad {

inline constexpr int64_t messagesDisabled = 0x7FFFFFFF;

// How often a neighbour wants our messages, in ms; 0 until it says so. The periodic actions keep their own pace.
struct RequestedIntervals {
    int64_t sync = 0;
    int64_t pdelay = 0;
    int64_t announce = 0;
};

// Takes in what neighbours ask for.
class SignalingReceiver {
public:
    explicit SignalingReceiver(const PTPInstance& ptp) : ptp(ptp) {}

    void HandleSignaling(uint8_t port, const SignalingMessage& message);
    const RequestedIntervals& Intervals() const { return intervals; }

private:
    const PTPInstance& ptp;
    RequestedIntervals intervals;
};

}  // namespace norvad
