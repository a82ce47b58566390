#include "ptp/as_capable.h"

#include "base/log.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

namespace {

constexpr int32_t toleratedMisses = 3;

}  // namespace

void AsCapableDecision::ExchangeCompleted(uint8_t port, PTPPortData& data) {
    if (!socket.IsAvbUp(port)) log(LogCategory::PTP, 0, "[SW-PTP] Port %d IS AVB capable\n", port);
    socket.SetAsCapable(port, true, data.peerIsSameMake);
    data.missedPdelayResponses = 0;
}

void AsCapableDecision::ExchangeMissed(uint8_t port, PTPPortData& data) {
    ++data.missedPdelayResponses;
    if (data.missedPdelayResponses <= toleratedMisses || !socket.IsAvbUp(port) || data.forcedASCapable) return;
    log(LogCategory::PTP, 0, "[SW-PTP] Port %d NOT AVB capable\n", port);
    Withdraw(port, data);
}

void AsCapableDecision::LinkIsDown(uint8_t port, PTPPortData& data) {
    data.meanLinkDelay = 0;
    if (!socket.IsAvbUp(port)) return;
    log(LogCategory::PTP, 0, "[SW-PTP] Port %d Phystate %d NOT AVB capable\n", port, socket.IsPortUp(port));
    Withdraw(port, data);
}

void AsCapableDecision::PortWentDown(uint8_t port, PTPPortData& data) {
    Withdraw(port, data);
    data.peerIsSameMake = false;
}

void AsCapableDecision::Force(uint8_t port, PTPPortData& data, bool capable) {
    data.forcedASCapable = capable;
    log(LogCategory::PTP, 0, capable ? "[SW-PTP] Port %d IS AVB capable\n" : "[SW-PTP] Port %d NOT AVB capable\n",
        port);
    socket.SetAsCapable(port, capable, false);
}

void AsCapableDecision::Withdraw(uint8_t port, PTPPortData& data) {
    socket.SetAsCapable(port, false, false);
    data.RestartRateWindow();
}

}  // namespace norvad
