#pragma once

#include <cstdint>

namespace norvad {

// Why a talker cannot be carried on, IEEE 802.1Q, table 35-6. The one code that this bridge makes itself:
inline constexpr uint8_t egressPortNotAvbCapable = 8;

// The code in words; " Unknown" for a code without a meaning.
const char* FailureText(uint8_t failureCode);

}  // namespace norvad
