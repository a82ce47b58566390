#include "base/log.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace norvad {

std::array<int32_t, logCategoryCount> debugLevels{};

namespace {

LogSink* currentSink = nullptr;

}  // namespace

std::optional<LogCategory> LogCategoryOf(std::string_view name) {
    const auto isLetter = [](char typed, char capital) {
        return std::toupper(static_cast<unsigned char>(typed)) == capital;
    };
    const auto found = std::find_if(logCategoryNames.begin(), logCategoryNames.end(), [&](std::string_view each) {
        return std::equal(name.begin(), name.end(), each.begin(), each.end(), isLetter);
    });
    if (found == logCategoryNames.end()) return {};
    return static_cast<LogCategory>(found - logCategoryNames.begin());
}

LogSink* SetLogSink(LogSink* sink) {
    return std::exchange(currentSink, sink);
}

void log(LogCategory category, int32_t level, const char* format, ...) {
    if (!IsLogged(category, level) || !currentSink) return;

    std::array<char, logMessageLength + 1> message;
    std::va_list arguments;
    va_start(arguments, format);
    const int printed = std::vsnprintf(message.data(), message.size(), format, arguments);
    va_end(arguments);
    currentSink->Write(category, level, printed < 0 ? "" : message.data());
}

}  // namespace norvad
