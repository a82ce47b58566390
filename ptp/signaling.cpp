#include "ptp/signaling.h"

#include "base/log.h"

namespace norvad {

namespace {

constexpr uint8_t useDefault = 126;
constexpr uint8_t stopSending = 127;
constexpr uint8_t largestExponent = 15;

// What a request for one kind of message leads to. The texts print 0 for any interval; field logs have always read
// so.
struct RequestKind {
    int64_t defaultMs;
    const char* setToDefault;
    const char* disabled;
    const char* set;
};

constexpr RequestKind pdelayKind{1000, "[SW-PTP] PDelay set to default\n", "[SW-PTP] PDelay disabled\n",
                                 "[SW-PTP] PDelay set to 0\n"};
constexpr RequestKind syncKind{125, "[SW-PTP] Sync set to default\n", "[SW-PTP] Sync disabled\n",
                               "[SW-PTP] Sync set to 0\n"};
constexpr RequestKind announceKind{1000, "[SW-PTP] Announce set to default\n", "[SW-PTP] Announce disabled\n",
                                   "[SW-PTP] Announce set to 0\n"};

int64_t IntervalOf(uint8_t exponent) {
    if (exponent > largestExponent) return messagesDisabled;
    return (int64_t{1000} << (exponent + 6)) / 64;
}

// choice tells the default from a stop and from an interval, exponent how long that interval is.
int64_t Request(const RequestKind& kind, uint8_t choice, uint8_t exponent) {
    const bool toDefault = choice == useDefault, disabled = choice == stopSending;
    log(LogCategory::PTP, 1, "%s", toDefault ? kind.setToDefault : disabled ? kind.disabled : kind.set);
    if (toDefault) return kind.defaultMs;
    return disabled ? messagesDisabled : IntervalOf(exponent);
}

}  // namespace

// The exponent is that of the link delay for all three: neighbours ask for everything at one pace in one message.
void SignalingReceiver::HandleSignaling(uint8_t port, const SignalingMessage& message) {
    log(LogCategory::PTP, 1, "[SW-PTP] HandleSignalingMessage\n");
    if (!ptp.socket.IsStpUp(port) || ptp.IsOwn(message.header)) return;
    if (message.tlvType != ptpTlvOrganizationExtension) return;
    const uint8_t exponent = message.linkDelayInterval;
    intervals.pdelay = Request(pdelayKind, message.linkDelayInterval, exponent);
    intervals.sync = Request(syncKind, message.timeSyncInterval, exponent);
    intervals.announce = Request(announceKind, message.announceInterval, exponent);
}

}  // namespace norvad
