#include "tests/support/system/flood.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>

#include "tests/support/system/wire.h"

namespace norvad::test {

using Clock = std::chrono::steady_clock;

Flood::Flood(const std::string& interface, const std::vector<Bytes>& frames, uint32_t perSecond, uint64_t first)
    : frames(frames), perSecond(perSecond), first(first), socket(SendTo(interface)) {
    sender = std::thread([this] { Run(); });
}

Flood::~Flood() {
    stop = true;
    sender.join();
}

// What a busy machine did not let it send in 10 ms is not made up for.
void Flood::Run() {
    auto last = Clock::now();
    double due = 0;
    while (!stop) {
        const auto now = Clock::now();
        due += std::chrono::duration<double>(now - last).count() * perSecond;
        due = std::min(due, std::max(1.0, perSecond / 100.0));
        last = now;
        Send(static_cast<uint64_t>(due));
        due -= static_cast<double>(static_cast<uint64_t>(due));
        std::this_thread::sleep_until(now + std::chrono::microseconds(500));
    }
}

void Flood::Send(uint64_t count) {
    constexpr size_t atOnce = 64;
    std::array<iovec, atOnce> parts;
    std::array<mmsghdr, atOnce> messages{};
    while (count > 0) {
        const auto batch = static_cast<unsigned>(std::min<uint64_t>(count, atOnce));
        for (unsigned n = 0; n < batch; ++n) {
            const Bytes& frame = frames[static_cast<size_t>((first + sent + n) % frames.size())];
            parts[n] = {const_cast<uint8_t*>(frame.data()), frame.size()};
            messages[n].msg_hdr.msg_iov = &parts[n];
            messages[n].msg_hdr.msg_iovlen = 1;
        }
        const int taken = sendmmsg(socket.Get(), messages.data(), batch, 0);
        if (taken <= 0) return;
        sent += static_cast<uint64_t>(taken);
        count -= static_cast<uint64_t>(taken);
    }
}

}  // namespace norvad::test
