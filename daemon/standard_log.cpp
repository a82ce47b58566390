#include "daemon/standard_log.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "base/clock.h"

namespace norvad {

namespace {

using Line = std::array<char, logMessageLength + 1>;

size_t PutTimeOfDay(Line& line, const timeval& now) {
    tm local{};
    localtime_r(&now.tv_sec, &local);
    const size_t length = std::strftime(line.data(), logMessageLength, "%H:%M:%S", &local);
    const int milliseconds = static_cast<int>(now.tv_usec / 1000);
    const int printed = std::snprintf(&line[length], line.size() - length, ":%03d ", milliseconds);
    return length + static_cast<size_t>(std::max(printed, 0));
}

}  // namespace

StandardLog::StandardLog(const Clock& clock) : clock(clock), before(SetLogSink(this)) {}

StandardLog::~StandardLog() {
    SetLogSink(before);
}

void StandardLog::Write(LogCategory, int32_t, const char* message) {
    Line line;
    const size_t stamp = PutTimeOfDay(line, clock.TimeOfDay());
    const int printed = std::snprintf(&line[stamp], line.size() - stamp, "%s", message);
    const size_t length = std::min(stamp + static_cast<size_t>(std::max(printed, 0)), logMessageLength);
    // From 510 on the line stays without a newline: readers of existing logs know a cut line by that.
    if (length < 510 && line[length - 1] != '\n') {
        line[length] = '\n';
        line[length + 1] = '\0';
    }
    std::fputs(line.data(), stdout);
    syslog(LOG_INFO, "%s", message);
}

}  // namespace norvad
