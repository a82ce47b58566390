#include "base/log.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace norvad {

std::array<int32_t, logCategoryCount> debugLevels{};

namespace {

LogSink* currentSink = nullptr;

}  // namespace

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
