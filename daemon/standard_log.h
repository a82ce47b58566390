#pragma once

#include "base/log.h"

namespace norvad {

class Clock;

// The daemon's log: each message goes to standard output with a "%H:%M:%S:mmm " stamp of the time of day in front, and
// without it to the system log. It is the sink of all lines while it lives.
class StandardLog final : public LogSink {
public:
    explicit StandardLog(const Clock& clock);
    StandardLog(const StandardLog&) = delete;
    StandardLog& operator=(const StandardLog&) = delete;
    ~StandardLog() override;

    // A stamped line is cut at 511 characters. It gets a newline where it has none and stays below 510 characters. A
    // line that standard output cannot take at once is dropped; a line with the number of those dropped goes before the
    // next one that it takes.
    void Write(LogCategory category, int32_t level, const char* message) override;

private:
    void Print(const char* message);

    const Clock& clock;
    uint32_t dropped = 0;  // lines since standard output took one
    LogSink* const before;
};

}  // namespace norvad
