// Any bytes as one received frame: through the frame socket of a whole switch to its handlers' registry.

#include <boost/make_shared.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "switch/lldp_handler.h"
#include "switch/ports.h"
#include "switch/switch.h"
#include "tests/support/fake_doors.h"
#include "tests/support/stepped_clock.h"

namespace {

using namespace norvad;

// Reads all that it is given, as a protocol handler may, and answers by the port the frame came from.
class EchoHandler final : public ProtoHandler {
public:
    EchoHandler(uint16_t etherType, I4DSASocket& output) : etherType(etherType), output(output) {}

    uint16_t GetEtherType() const override { return etherType; }
    void HandleFrame(std::span<const uint8_t> frame, uint16_t type) override {
        if (type != etherType || frame.size() < taggedHeaderSize) std::abort();
        uint8_t sum = 0;
        for (const uint8_t byte : frame) sum = static_cast<uint8_t>(sum + byte);
        answer.assign(frame.begin(), frame.end());
        answer.back() = sum;
        answer.front() = sum;
        answer.resize(std::max(answer.size(), minimumTaggedFrame));
        output.write(*TaggedPort(frame), answer.data(), frame.size());
    }

private:
    uint16_t etherType;
    I4DSASocket& output;
    std::vector<uint8_t> answer;
};

struct Bridge {
    test::SteppedClock clock;
    test::FakeDoors doors{clock};
    Switch bridge{"eth0", clock, doors};
    size_t sent = 0;

    Bridge() {
        for (const uint16_t etherType : {ETHERTYPE_MSRP, ETHERTYPE_MVRP, ETHERTYPE_PTP2}) {
            bridge.Dispatcher().AddHandler(boost::make_shared<EchoHandler>(etherType, bridge));
        }
        bridge.Dispatcher().AddHandler(boost::make_shared<LLDPHandler>());
        doors.frames.carry = [this](std::span<const uint8_t> frame) {
            if (frame.size() < minimumTaggedFrame || *TaggedPort(frame) > cpuPort) std::abort();
            ++sent;
        };
        using test::linkGigabit;
        doors.SetPortLinks({linkGigabit, linkGigabit, 0, 0, 0, 0, linkGigabit});
        bridge.UpdateLinks();
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bridge fixture;
    if (size == 0) return 0;  // the frame socket gives no empty frames
    fixture.doors.frames.Queue({data, data + size});
    fixture.bridge.Dispatcher().ReadFrame();
    (void)FrameDispatcher::DescribeTag({data, size});
    fixture.doors.driver.transmitted.clear();
    fixture.doors.driver.arrived.clear();
    return 0;
}
