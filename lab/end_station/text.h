#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/hex.h"
#include "mrp/mrp_types.h"
#include "msrp/msrp_wire.h"

namespace norvad::station {

// How addresses and identifiers are written on the command line and in event lines.

// "02:00:00:00:00:01:00:01", or with the unique id in one piece, "02:00:00:00:00:01:0001".
std::optional<StreamID> ParseStreamId(std::string_view text);

// "ready", "asking-failed" or "ready-failed".
std::optional<ListenerDeclaration> ParseDeclaration(std::string_view text);

// The same words as ParseDeclaration reads.
const char* DeclarationText(ListenerDeclaration declaration);

// IEEE 802.1Q, table 35-6.
const char* FailureText(uint8_t code);

}  // namespace norvad::station
