#include "tests/support/captured_syslog.h"

#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>

namespace norvad::test {

namespace {
int copyDescriptor = -1;
}

std::vector<SyslogMessage>& CapturedSyslog() {
    static std::vector<SyslogMessage> messages;
    return messages;
}

std::vector<std::string> SyslogTexts() {
    std::vector<std::string> texts;
    for (const SyslogMessage& message : CapturedSyslog()) texts.push_back(message.text);
    return texts;
}

void CopySyslogTo(int descriptor) {
    copyDescriptor = descriptor;
}

}  // namespace norvad::test

// Takes the place of the C library's in this program.
extern "C" void syslog(int priority, const char* format, ...) {
    using namespace norvad::test;
    std::array<char, 2048> text{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    CapturedSyslog().push_back({priority, text.data()});
    if (copyDescriptor >= 0) dprintf(copyDescriptor, "<%d>%s\n", priority, text.data());
}
