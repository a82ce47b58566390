#include "lab/network/program/progress.h"

#include <unistd.h>

#include <cstdio>

namespace norvad::network {

Progress::Progress(uint64_t durationNs) : durationNs(durationNs), isSeen(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (isSeen) std::fputs("\r\033[K", stderr);
}

void Progress::Tell(uint64_t ns) {
    const auto now = Clock::now();
    if (!isSeen || now - told < std::chrono::milliseconds(200)) return;
    told = now;
    const double spent = std::chrono::duration<double>(now - begin).count();
    const double seconds = static_cast<double>(ns) / 1e9;
    const double speed = seconds / spent;
    std::fprintf(stderr, "\r%.1f s of %.1f s, %.1f times as fast as life, %.0f s left\033[K", seconds,
                 static_cast<double>(durationNs) / 1e9, speed,
                 (static_cast<double>(durationNs) / 1e9 - seconds) / speed);
}

}  // namespace norvad::network
