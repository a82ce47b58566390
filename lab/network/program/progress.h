#pragma once

#include <chrono>
#include <cstdint>

namespace norvad::network {

// Tells on a terminal how far a run has come, how fast it is, and how long it takes yet; elsewhere nothing.
class Progress {
public:
    explicit Progress(uint64_t durationNs);
    ~Progress();  // the line goes
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Tell(uint64_t ns);

private:
    using Clock = std::chrono::steady_clock;

    const uint64_t durationNs;
    const bool isSeen;
    const Clock::time_point begin = Clock::now();
    Clock::time_point told = begin;
};

}  // namespace norvad::network
