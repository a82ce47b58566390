// What one MVRP value costs, with few and with many VLANs registered, as in msrp_bench.

#include <benchmark/benchmark.h>

#include <array>
#include <span>
#include <vector>

#include "base/ethertypes.h"
#include "base/log.h"
#include "base/timer_service.h"
#include "bench/processor_time.h"
#include "mrp/mrpdu.h"
#include "mvrp/mvrp_handler.h"
#include "switch/cpu_tag.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_switch.h"
#include "tests/support/stepped_clock.h"

namespace norvad::bench {

namespace {

constexpr uint32_t valuesPerFrame = 10;
constexpr uint32_t framesPerRun = 10;
constexpr uint8_t memberPort = 0;
constexpr uint8_t declaringPort = 1;

using test::Bytes;

// A switch that takes every VLAN: what its tables cost is not measured.
class TablelessSwitch final : public I4Switch {
public:
    void EnableVlan(uint8_t, uint16_t) override {}
    void DisableVlan(uint8_t, uint16_t) override {}
    void EnableMulticast(uint8_t, uint16_t, const MacAddress&) override {}
    void DisableMulticast(uint8_t, uint16_t, const MacAddress&) override {}
    void AddBandwidth(uint8_t, uint32_t, uint32_t) override {}
    void SubstractBandwidth(uint8_t, uint32_t, uint32_t) override {}
    void SetBandwidth(uint8_t, uint32_t, uint32_t) override {}
    bool HasBandwidth(uint8_t, uint32_t) const override { return true; }
    void SetEgress(uint8_t, uint32_t) override {}
    const uint8_t* GetMacAddress() const override { return address.data(); }
    const uint8_t* GetSecondAddress() const override { return address.data(); }

private:
    MacAddress address = test::FakeSwitch::ownAddress;
};

// A frame from a port with ten VLANs, in messages of one vector of two values each, as every receiver reads them. The
// VLANs follow on one another from the first on and begin again behind the last; first and count are even.
Bytes FrameOf(uint8_t port, uint32_t first, uint32_t count, AttributeEvent event) {
    TaggedHeader header{};
    header.destination = mvrpGroupAddress;
    header.tag = {ETHERTYPE_TAG, 0, 0, static_cast<uint8_t>(port << 3), {0, 0}};
    header.etherType = ETHERTYPE_MVRP;
    Bytes frame = test::Copy(BytesOf(header));
    frame.push_back(mrpProtocolVersion);
    for (uint32_t n = 0; n < valuesPerFrame; n += 2) {
        const uint32_t vid = 1 + (first + n) % count;
        const auto events = static_cast<uint8_t>((static_cast<uint8_t>(event) * 6 + static_cast<uint8_t>(event)) * 6);
        for (const uint32_t byte :
             {uint32_t{REGISTER_VLAN}, 2u, 0u, 2u, vid >> 8, vid & 0xFF, uint32_t{events}, 0u, 0u})
            frame.push_back(static_cast<uint8_t>(byte));
    }
    frame.resize(frame.size() + 2);
    return frame;
}

// A bridge with VLANs registered on one port, and so declared on the other.
class Bench {
public:
    explicit Bench(uint32_t vlans) : vlans(vlans) {
        debugLevels[static_cast<size_t>(LogCategory::MVRP)] = -1;  // every VLAN that is removed has a line otherwise
        socket.Raise(memberPort);
        socket.Raise(declaringPort);
        for (uint32_t first = 0; first < vlans; first += valuesPerFrame)
            Receive(FrameOf(memberPort, first, vlans, AttributeEvent::NEW));
        for (uint8_t port : {memberPort, declaringPort}) {
            while (BuildPdu(port) > 0) {
            }
        }
    }

    void Receive(Bytes frame) { mvrp.HandleFrame(frame, ETHERTYPE_MVRP); }

    uint32_t NextFrame() {
        const uint32_t first = next;
        next = (next + valuesPerFrame) % vlans;
        return first;
    }

    size_t BuildPdu(uint8_t port) {
        MRPDUWriter pdu(buffer, MessageLayout::WithoutListLength);
        return mvrp.AddMessage(pdu, port, Vlan::attributeType, REGISTER_VLAN, sizeof(VlanFirstValue), false);
    }

    void Forget(uint32_t first, uint32_t count) {
        for (uint32_t n = first; n < first + count; ++n) {
            for (uint8_t port : {memberPort, declaringPort}) {
                if (Vlan* vlan = mvrp.FindVlan(static_cast<uint16_t>(1 + n), port)) mvrp.RemoveAttribute(*vlan);
            }
        }
    }

    const uint32_t vlans;
    uint32_t next = 0;
    test::SteppedClock clock;
    TimerService timers{clock};
    test::FakeSwitch socket;
    TablelessSwitch bridge;
    MVRPHandler mvrp{socket, bridge, timers};
    std::array<uint8_t, MRPDUWriter::bufferSize> buffer{};
};

using Frames = std::array<Bytes, framesPerRun>;

void ReceiveAll(benchmark::State& state, Bench& bench, Frames& frames) {
    state.SetIterationTime(Measure([&] {
        for (Bytes& frame : frames) bench.mvrp.HandleFrame(frame, ETHERTYPE_MVRP);
    }));
}

void ReceiveNewVlan(benchmark::State& state) {
    constexpr uint32_t beyond = 5'000;
    constexpr uint32_t perRun = framesPerRun * valuesPerFrame;
    Bench bench(static_cast<uint32_t>(state.range(0)));
    Frames frames;
    for (auto _ : state) {
        for (uint32_t n = 0; n < framesPerRun; ++n)
            frames[n] = FrameOf(memberPort, beyond + n * valuesPerFrame, 2 * beyond, AttributeEvent::NEW);
        ReceiveAll(state, bench, frames);
        bench.Forget(beyond, perRun);
    }
    PerValue(state, perRun);
}

void ReceiveKnownVlan(benchmark::State& state) {
    Bench bench(static_cast<uint32_t>(state.range(0)));
    Frames frames;
    for (auto _ : state) {
        for (Bytes& frame : frames) frame = FrameOf(memberPort, bench.NextFrame(), bench.vlans, AttributeEvent::JOIN);
        ReceiveAll(state, bench, frames);
    }
    PerValue(state, framesPerRun * valuesPerFrame);
}

// Ten VLANs that the neighbour has lost are built into each PDU, out of all that are declared to it.
void TransmitVlan(benchmark::State& state) {
    Bench bench(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        double seconds = 0;
        for (uint32_t n = 0; n < framesPerRun; ++n) {
            bench.Receive(FrameOf(declaringPort, bench.NextFrame(), bench.vlans, AttributeEvent::MT));
            size_t sent = 0;
            seconds += Measure([&] { sent = bench.BuildPdu(declaringPort); });
            if (sent != valuesPerFrame) state.SkipWithError("not every value was sent");
        }
        state.SetIterationTime(seconds);
    }
    PerValue(state, framesPerRun * valuesPerFrame);
}

// No more than a neighbour can register, the new ones among them.
BENCHMARK(ReceiveNewVlan)->Arg(10)->Arg(1'000)->Arg(3'990)->UseManualTime();
BENCHMARK(ReceiveKnownVlan)->Arg(10)->Arg(1'000)->Arg(4'094)->UseManualTime();
BENCHMARK(TransmitVlan)->Arg(10)->Arg(1'000)->Arg(4'094)->UseManualTime();

}  // namespace

}  // namespace norvad::bench
