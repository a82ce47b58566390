#pragma once

#include <cstdint>

#include "ptp/port_data.h"

namespace norvad {

class I4DSASocket;

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
