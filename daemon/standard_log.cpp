#include "daemon/standard_log.h"

#include <poll.h>
#include <syslog.h>
#include <unistd.h>

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

// False when standard output does not take the whole line at once.
bool PutOut(const timeval& now, const char* message) {
    Line line;
    const size_t stamp = PutTimeOfDay(line, now);
    const int printed = std::snprintf(&line[stamp], line.size() - stamp, "%s", message);
    size_t length = std::min(stamp + static_cast<size_t>(std::max(printed, 0)), logMessageLength);
    // From 510 on the line stays without a newline: readers of existing logs know a cut line by that.
    if (length < 510 && line[length - 1] != '\n') line[length++] = '\n';

    // A pipe or a socket that is ready takes as much without a wait; a line is far below PIPE_BUF.
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    if (poll(&output, 1, 0) != 1 || (output.revents & POLLOUT) == 0) return false;
    return write(STDOUT_FILENO, line.data(), length) == static_cast<ssize_t>(length);
}

}  // namespace

StandardLog::StandardLog(const Clock& clock) : clock(clock), before(SetLogSink(this)) {}

StandardLog::~StandardLog() {
    SetLogSink(before);
}

void StandardLog::Write(LogCategory, int32_t, const char* message) {
    Print(message);
    syslog(LOG_INFO, "%s", message);
}

void StandardLog::Print(const char* message) {
    const timeval now = clock.TimeOfDay();
    if (dropped > 0) {
        std::array<char, 96> notice;
        (void)std::snprintf(notice.data(), notice.size(), "[norvad] standard output was not read: %u lines dropped\n",
                            dropped);
        if (PutOut(now, notice.data())) dropped = 0;
    }
    if (dropped > 0 || !PutOut(now, message)) ++dropped;
}

}  // namespace norvad
