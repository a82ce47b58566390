#include "base/log.h"

#include <sys/time.h>
#include <syslog.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace norvad {

std::array<int32_t, logCategoryCount> debugLevels{};

namespace {

using Line = std::array<char, 512>;
constexpr size_t usableLength = sizeof(Line) - 1;

// What a printf-style call has put behind length, given what it returned.
size_t LengthAfter(size_t length, int printed) {
    if (printed < 0) return length;
    return std::min(length + static_cast<size_t>(printed), usableLength);
}

size_t PutTimeOfDay(Line& line) {
    timeval now{};
    gettimeofday(&now, nullptr);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    const size_t length = std::strftime(line.data(), usableLength, "%H:%M:%S", &local);
    const int milliseconds = static_cast<int>(now.tv_usec / 1000);
    return LengthAfter(length, std::snprintf(&line[length], line.size() - length, ":%03d ", milliseconds));
}

}  // namespace

void log(LogCategory category, int32_t level, const char* format, ...) {
    if (!IsLogged(category, level)) return;

    std::va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);

    Line line{};
    size_t length = PutTimeOfDay(line);
    length = LengthAfter(length, std::vsnprintf(&line[length], line.size() - length, format, arguments));
    // From 510 on the line stays without a newline: readers of existing logs know a cut line by that.
    if (length < 510 && line[length - 1] != '\n') {
        line[length] = '\n';
        line[length + 1] = '\0';
    }
    std::fputs(line.data(), stdout);

    std::vsnprintf(line.data(), line.size(), format, again);
    syslog(LOG_INFO, "%s", line.data());

    va_end(again);
    va_end(arguments);
}

}  // namespace norvad
