// Any bytes as one datagram on the link socket of a whole switch.

#include <boost/make_shared.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "base/ethertypes.h"
#include "switch/switch.h"
#include "tests/support/fake_doors.h"
#include "tests/support/stepped_clock.h"

namespace {

using namespace norvad;

// Sees to it that what is announced of a port is what the switch answers.
class PortWatcher final : public ProtoHandler {
public:
    explicit PortWatcher(const I4DSASocket& ports) : ports(ports) {}

    uint16_t GetEtherType() const override { return ETHERTYPE_MSRP; }
    void HandleFrame(std::span<const uint8_t>, uint16_t) override {}
    void PortUp(uint8_t port) override { Check(ports.IsPortUp(port)); }
    void PortDown(uint8_t port) override { Check(!ports.IsPortUp(port)); }
    void PortStpUp(uint8_t port) override { Check(ports.IsStpUp(port)); }
    void PortStpDown(uint8_t port) override { Check(!ports.IsStpUp(port)); }

private:
    static void Check(bool truth) {
        if (!truth) std::abort();
    }
    const I4DSASocket& ports;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    test::SteppedClock clock;
    test::FakeDoors doors(clock);
    Switch bridge("eth0", clock, doors);
    bridge.Dispatcher().AddHandler(boost::make_shared<PortWatcher>(bridge));
    doors.links.Queue({data, data + size});
    bridge.UpdateLinks();
    return 0;
}
