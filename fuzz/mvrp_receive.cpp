#include <algorithm>
#include <cstdint>

#include "base/log.h"
#include "fuzz/input.h"
#include "mvrp/mvrp_handler.h"
#include "switch/cpu_tag.h"
#include "tests/support/fake_switch.h"
#include "tests/support/stepped_clock.h"

namespace norvad {

namespace {

using fuzz::Require;

// What must hold whatever was received: the switch's members are the registrations.
void CheckMembership(MVRPHandler& mvrp, const test::FakeSwitch& bridge) {
    size_t registered = 0;
    for (uint8_t port = 0; port < mvrp.PortCount(); ++port) {
        mvrp.ForEach(port, Vlan::attributeType, [&](MRPAttribute& attribute) {
            const auto& vlan = static_cast<Vlan&>(attribute);
            Require(mvrp.FindVlan(vlan.Vid(), port) == &vlan);
            if (!vlan.IsRegistered()) return;
            Require(bridge.vlans.count({port, vlan.Vid()}) == 1);
            ++registered;
        });
    }
    Require(registered == bridge.vlans.size());
}

}  // namespace

}  // namespace norvad

// The input is a row of frames, each behind its length in two bytes and the time that passes before it (in 8 ms); each
// ends where its memory ends, so that the address sanitizer sees a read beyond it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace norvad;
    debugLevels.fill(-1);
    test::SteppedClock clock;
    TimerService timers(clock);
    test::FakeSwitch bridge;
    MVRPHandler mvrp(bridge, bridge, timers);
    for (const uint8_t port : {uint8_t{0}, uint8_t{1}}) bridge.Raise(port);

    fuzz::Input input({data, size});
    while (!input.IsEmpty()) {
        const size_t length = std::min<size_t>(input.Short(), receiveBufferSize);
        clock.AdvanceMs(input.Byte() * 8u);
        timers.runDue();
        mvrp.HandleFrame(input.Bytes(length), mvrp.GetEtherType());
    }
    CheckMembership(mvrp, bridge);

    for (int i = 0; i < 20; ++i) {
        clock.AdvanceMs(200);
        timers.runDue();
    }
    CheckMembership(mvrp, bridge);
    return 0;
}
