#pragma once

#include <atomic>
#include <cstdint>

#include "base/file_descriptor.h"

namespace norvad::ctl {

// Tells the thread that asks the daemon whether anybody wants to know.
class Attention {
public:
    // The daemon is asked on for so long after somebody wanted to know: a collector of metrics that comes every minute
    // misses nothing in between.
    static constexpr uint64_t lastsMs = 90'000;

    Attention();

    // From any thread.
    void Draw();

    // For the asking thread, which has SIGINT, SIGTERM and SIGHUP blocked; the signals throw Interrupted out of both.
    void WaitUntilDrawn();
    void Pause(uint64_t ms);

private:
    bool IsDrawn() const;
    void WaitFor(int descriptor, int ms);  // -1: none, for ever

    const FileDescriptor bell;
    const FileDescriptor signals;
    std::atomic<uint64_t> wantedUntilMs = 0;  // on the monotonic clock
};

}  // namespace norvad::ctl
