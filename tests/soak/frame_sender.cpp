// Sends one frame again and again: what a neighbour does that is broken, or means no good.
//   norvad3-frame-sender INTERFACE FRAMES_PER_SECOND SECONDS "01 80 c2 00 00 0e ..."
// The bytes are the frame from its destination address on. It says how many the interface took.

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/clock.h"
#include "lab/common/packet_port.h"
#include "lab/common/time.h"
#include "tests/support/bytes.h"

namespace {

using namespace norvad;
using namespace norvad::lab;

// Frames leave in bunches, as many as are due each millisecond.
uint64_t Flood(const std::string& interface, uint64_t framesPerSecond, uint64_t seconds,
               const std::vector<uint8_t>& frame) {
    SystemClock clock;
    PacketPort port(interface, {});
    const uint64_t beginNs = NowNs(clock), wanted = framesPerSecond * seconds;
    uint64_t sent = 0, taken = 0;
    while (sent < wanted) {
        const uint64_t due = framesPerSecond * (NowNs(clock) - beginNs) / nsPerSecond;
        for (; sent < due && sent < wanted; ++sent) taken += port.Send(frame);
        clock.Sleep(1);
    }
    return taken;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 5) throw std::invalid_argument("INTERFACE FRAMES_PER_SECOND SECONDS FRAME are wanted");
    const uint64_t taken = Flood(argv[1], std::stoull(argv[2]), std::stoull(argv[3]), test::FromHex(argv[4]));
    std::printf("%llu frames\n", static_cast<unsigned long long>(taken));
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "norvad3-frame-sender: %s\n", error.what());
    return 1;
}
