#include "ctl/serve/attention.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "ctl/milliseconds.h"
#include "ctl/signals.h"

namespace norvad::ctl {

namespace {

FileDescriptor MakeBell() {
    FileDescriptor bell(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!bell.IsOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
    return bell;
}

}  // namespace

Attention::Attention() : bell(MakeBell()), signals(TakeSignals()) {}

void Attention::Draw() {
    constexpr uint64_t once = 1;
    wantedUntilMs = MonotonicMs(SystemClock()) + lastsMs;
    (void)!write(bell.Get(), &once, sizeof once);
}

void Attention::WaitUntilDrawn() {
    while (!IsDrawn()) {
        WaitFor(bell.Get(), -1);
        uint64_t rings = 0;
        (void)!read(bell.Get(), &rings, sizeof rings);
    }
}

void Attention::Pause(uint64_t ms) {
    WaitFor(-1, static_cast<int>(ms));
}

bool Attention::IsDrawn() const {
    return MonotonicMs(SystemClock()) < wantedUntilMs;
}

void Attention::WaitFor(int descriptor, int ms) {
    std::array<pollfd, 2> set{{{signals.Get(), POLLIN, 0}, {descriptor, POLLIN, 0}}};
    (void)poll(set.data(), set.size(), ms);
    (void)HeedSignal(signals);
}

}  // namespace norvad::ctl
