#include "lab/common/event_lines.h"

#include <fmt/chrono.h>

#include <chrono>
#include <cstdio>
#include <utility>

namespace norvad::lab {

EventLines::EventLines(std::string name) : name(std::move(name)) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void EventLines::Print(const std::string& text) const {
    using std::chrono::system_clock;
    const auto now = std::chrono::floor<std::chrono::milliseconds>(system_clock::now());
    const auto ms = now.time_since_epoch().count() % 1000;
    fmt::print("{:%H:%M:%S}.{:03} {}: {}\n", fmt::localtime(system_clock::to_time_t(now)), ms, name, text);
}

}  // namespace norvad::lab
