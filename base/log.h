#pragma once

#include <array>
#include <cstdint>

namespace norvad {

// Each category has a level of its own; the order is that of the level table.
enum class LogCategory : uint8_t { SOCKET, MRP, MSRP, MVRP, PTP, IOCTL };

inline constexpr uint32_t logCategoryCount = 6;

// The levels by category, all 0 at start; the only global of the daemon.
extern std::array<int32_t, logCategoryCount> debugLevels;

// True when a message of this level is written. Ask before building an expensive text.
inline bool IsLogged(LogCategory category, int32_t level) {
    const auto index = static_cast<uint32_t>(category);
    return index < logCategoryCount && debugLevels[index] >= level;
}

// Writes one line, printf style, with a "%H:%M:%S:mmm " stamp to standard output and without it to the
// system log, when the category's level is at least level (0 is always written). A stamped line is cut
// at 511 characters; a newline is added where the text has none and there is room for it.
[[gnu::format(printf, 3, 4)]] void log(LogCategory category, int32_t level, const char* format, ...);

}  // namespace norvad
