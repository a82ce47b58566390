#include "lab/virtual_switch/event_printer.h"

#include <sys/time.h>

#include <array>
#include <cstdio>
#include <ctime>

namespace norvad::board {

// The daemon writes to the same standard output; whole lines keep the two apart.
EventPrinter::EventPrinter(bool quiet) : quiet(quiet) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void EventPrinter::Event(const std::string& text) {
    if (quiet) return;
    timeval now{};
    gettimeofday(&now, nullptr);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    std::array<char, 16> stamp;
    std::strftime(stamp.data(), stamp.size(), "%H:%M:%S", &local);
    std::printf("%s.%03d board: %s\n", stamp.data(), static_cast<int>(now.tv_usec / 1000), text.c_str());
}

}  // namespace norvad::board
