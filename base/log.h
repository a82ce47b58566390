#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace norvad {

// Each category has a level of its own; the order is that of the level table.
enum class LogCategory : uint8_t { SOCKET, MRP, MSRP, MVRP, PTP, IOCTL };

inline constexpr uint32_t logCategoryCount = 6;

inline constexpr std::array<const char*, logCategoryCount> logCategoryNames{"SOCKET", "MRP", "MSRP",
                                                                            "MVRP",   "PTP", "IOCTL"};

// By its name, in capitals or not.
std::optional<LogCategory> LogCategoryOf(std::string_view name);

// The levels by category, all 0 at start. Beside the sink of the lines the only global of the daemon.
extern std::array<int32_t, logCategoryCount> debugLevels;

// Where lines go.
class LogSink {
public:
    virtual ~LogSink() = default;

    // One message, at most logMessageLength characters, as its caller wrote it: perhaps with a newline at its end,
    // perhaps with more in it. It is the sink's until it returns.
    virtual void Write(LogCategory category, int32_t level, const char* message) = 0;
};

inline constexpr size_t logMessageLength = 511;

// Lets lines go to sink from now on, or nowhere when it is null, as it is at start. Returns the sink of before.
LogSink* SetLogSink(LogSink* sink);

// True when a message of this level is written. Ask before building an expensive text.
inline bool IsLogged(LogCategory category, int32_t level) {
    const auto index = static_cast<uint32_t>(category);
    return index < logCategoryCount && debugLevels[index] >= level;
}

// Hands one message, printf style and cut at logMessageLength, to the sink when the category's level is at least
// level (0 is always written).
[[gnu::format(printf, 3, 4)]] void log(LogCategory category, int32_t level, const char* format, ...);

}  // namespace norvad
