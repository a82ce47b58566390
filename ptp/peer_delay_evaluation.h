#pragma once

#include <cstdint>

#include "ptp/port_data.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

// What a complete exchange says about the link, in ns; negative when the stamps contradict each other.
int64_t MeasuredDelay(const PTPPortData& data);

// Takes a complete exchange into the link delay and the neighbour's rate ratio of the port. A delay outside
// -3000..15000 ns is logged and changes neither. windowMode 0: the ratio is that of the last interval, else that of
// the interval since the window was opened.
void EvaluateExchange(uint8_t port, PTPPortData& data, int32_t windowMode);

// Decides whether the neighbour of a port is AS capable and tells the switch.
class AsCapableDecision {
public:
    explicit AsCapableDecision(I4DSASocket& socket) : socket(socket) {}

    void ExchangeCompleted(uint8_t port, PTPPortData& data);  // whatever the delay that came out of it
    void ExchangeMissed(uint8_t port, PTPPortData& data);     // the fourth time in a row takes capability away
    void LinkIsDown(uint8_t port, PTPPortData& data);
    void PortWentDown(uint8_t port, PTPPortData& data);
    void Force(uint8_t port, PTPPortData& data, bool capable);  // an operator's word

private:
    void Withdraw(uint8_t port, PTPPortData& data);

    I4DSASocket& socket;
};

}  // namespace norvad
