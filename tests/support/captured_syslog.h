#pragma once

#include <string>
#include <vector>

namespace norvad::test {

struct SyslogMessage {
    int priority;
    std::string text;
};

// What this process has sent to the system log; the test program's own syslog() keeps it from the machine's log.
std::vector<SyslogMessage>& CapturedSyslog();

// The texts alone.
std::vector<std::string> SyslogTexts();

// Writes each message to a descriptor as well, a line each, so that processes forked from here can be heard.
void CopySyslogTo(int descriptor);

}  // namespace norvad::test
