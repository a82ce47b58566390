#pragma once

#include <string>
#include <vector>

namespace norvad {

using DebugTokens = std::vector<std::string>;  // what follows the option "debug": a category and a level

inline constexpr const char* debugOptionHelp = "set debug level for SOCKET | MRP | MSRP | MVRP | PTP | IOCTL to <n>";

// Sets the level of the named category, in upper or lower case, and says so on standard output. An unknown
// category changes nothing; a level that is no number counts as 0. False, and nothing done, when there are not
// exactly two tokens.
bool SetDebugLevel(const DebugTokens& tokens);

}  // namespace norvad
