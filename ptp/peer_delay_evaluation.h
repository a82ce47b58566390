#pragma once

#include <cstdint>

#include "ptp/port_data.h"

namespace norvad {

// What a complete exchange says about the link, in ns; negative when the stamps contradict each other.
int64_t MeasuredDelay(const PTPPortData& data);

// Takes a complete exchange into the link delay and the neighbour's rate ratio of the port. A delay outside
// -3000..15000 ns is logged and changes neither. windowMode 0: the ratio is that of the last interval, else that of
// the interval since the window was opened.
void EvaluateExchange(uint8_t port, PTPPortData& data, int32_t windowMode);

}  // namespace norvad
