#include "tests/support/captured_syslog.h"

#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>

namespace norvad::test {

namespace {

int copyDescriptor = -1;

void Capture(int priority, const char* format, std::va_list arguments) {
    std::array<char, 2048> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    CapturedSyslog().push_back({priority, text.data()});
    if (copyDescriptor >= 0) dprintf(copyDescriptor, "<%d>%s\n", priority, text.data());
}

}  // namespace

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
    std::va_list arguments;
    va_start(arguments, format);
    norvad::test::Capture(priority, format, arguments);
    va_end(arguments);
}

// What syslog() becomes where the C library checks arguments (_FORTIFY_SOURCE).
extern "C" void __syslog_chk(int priority, int, const char* format, ...) {  // NOLINT(bugprone-reserved-identifier)
    std::va_list arguments;
    va_start(arguments, format);
    norvad::test::Capture(priority, format, arguments);
    va_end(arguments);
}
