#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "ptp/grandmaster_message.h"

namespace norvad::reader {

// The message in those bytes, which are in host order; nothing when they are not exactly one, or when it says that its
// path has more entries than there is room for.
std::optional<GrandmasterMessage> ReadMessage(std::span<const uint8_t> bytes);

// One line of it: "grandmaster 0x0011223344556677 domain 0 fixed 200 path 0x0011223344556677 0x...".
std::string MessageText(const GrandmasterMessage& message);

}  // namespace norvad::reader
