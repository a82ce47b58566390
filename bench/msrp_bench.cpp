// What one MSRP value costs, with few and with many streams registered. A run handles ten frames of ten values each,
// which go round the registered streams, so that every stream is as cold as in life. Processor time of the thread is
// measured, as other programs run too.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "base/timer_service.h"
#include "bench/processor_time.h"
#include "mrp/mrpdu.h"
#include "msrp/msrp_handler.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_switch.h"
#include "tests/support/stepped_clock.h"

namespace norvad::bench {

namespace {

constexpr uint32_t valuesPerFrame = 10;
constexpr uint32_t framesPerRun = 10;
constexpr uint8_t talkerPort = 0;
constexpr uint8_t listenerPort = 1;

using test::Bytes;

TalkerFirstValue TalkerNumber(uint32_t number) {
    const auto high = static_cast<uint8_t>(number >> 16);
    const auto middle = static_cast<uint8_t>(number >> 8);
    const auto low = static_cast<uint8_t>(number);
    TalkerFirstValue value{};
    value.streamId = {0x02, 0, 0, 0, 1, high, middle, low};
    value.destination = {0x91, 0xE0, 0xF0, high, middle, low};
    value.vid = 2;
    value.maxFrameSize = 100;
    value.maxIntervalFrames = 1;
    return value;
}

// A frame from a port with ten streams from the first on: talkers, or listeners that are ready.
Bytes FrameOf(uint8_t port, uint8_t type, uint32_t first, AttributeEvent event) {
    Bytes frame(MRPDUWriter::bufferSize);
    TaggedHeader header{};
    header.destination = msrpGroupAddress;
    header.tag = {ETHERTYPE_TAG, 0, 0, static_cast<uint8_t>(port << 3), {0, 0}};
    header.etherType = ETHERTYPE_MSRP;
    Put(frame, 0, header);

    MRPDUWriter pdu(std::span<uint8_t>(frame).subspan(taggedHeaderSize), MessageLayout::WithListLength);
    pdu.BeginMessage(type, type == TALKER_ADVERTISE ? sizeof(TalkerFirstValue) : sizeof(ListenerFirstValue));
    for (uint32_t number = first; number < first + valuesPerFrame; ++number) {
        const TalkerFirstValue talker = TalkerNumber(number);
        if (type == TALKER_ADVERTISE) {
            pdu.AddFirstValue(false, BytesOf(talker), event, {});
        } else {
            pdu.AddFirstValue(false, talker.streamId, event, static_cast<uint8_t>(ListenerDeclaration::READY));
        }
    }
    pdu.EndMessage();
    frame.resize(taggedHeaderSize + pdu.Finish());
    return frame;
}

// A bridge with streams registered between two ports that are up and AS capable.
class Bench {
public:
    explicit Bench(uint32_t streams) : streams(streams) {
        bridge.Raise(talkerPort);
        bridge.Raise(listenerPort);
        for (uint32_t first = 0; first < streams; first += valuesPerFrame) {
            Receive(FrameOf(talkerPort, TALKER_ADVERTISE, first, AttributeEvent::NEW));
            Receive(FrameOf(listenerPort, LISTENER_VECTOR, first, AttributeEvent::NEW));
        }
        SendEverything();
    }

    void Receive(Bytes frame) { msrp.HandleFrame(frame, ETHERTYPE_MSRP); }

    // The first stream of each frame in turn.
    uint32_t NextFrame() {
        const uint32_t first = next;
        next = (next + valuesPerFrame) % streams;
        return first;
    }

    // Builds PDUs until nothing is waiting.
    void SendEverything() {
        for (uint8_t port : {talkerPort, listenerPort}) {
            while (BuildPdu(port, TALKER_ADVERTISE, sizeof(TalkerFirstValue)) +
                       BuildPdu(port, LISTENER_VECTOR, sizeof(ListenerFirstValue)) >
                   0) {
            }
        }
    }

    size_t BuildPdu(uint8_t port, uint8_t type, uint8_t length) {
        MRPDUWriter pdu(buffer, MessageLayout::WithListLength);
        return msrp.AddMessage(pdu, port, type, length, false);
    }

    void Forget(uint32_t first) {
        for (uint32_t number = first; number < first + valuesPerFrame; ++number) {
            const StreamID id = TalkerNumber(number).streamId;
            for (uint8_t port : {talkerPort, listenerPort}) {
                if (Talker* talker = msrp.FindTalker(id, port)) msrp.RemoveAttribute(*talker);
            }
        }
    }

    const uint32_t streams;
    uint32_t next = 0;
    test::SteppedClock clock;
    TimerService timers{clock};
    test::FakeSwitch bridge;
    MSRPHandler msrp{bridge, bridge, timers};
    std::array<uint8_t, MRPDUWriter::bufferSize> buffer{};
};

using Frames = std::array<Bytes, framesPerRun>;

void ReceiveAll(benchmark::State& state, Bench& bench, Frames& frames) {
    state.SetIterationTime(Measure([&] {
        for (Bytes& frame : frames) bench.msrp.HandleFrame(frame, ETHERTYPE_MSRP);
    }));
}

void Refresh(benchmark::State& state, uint8_t port, uint8_t type) {
    Bench bench(static_cast<uint32_t>(state.range(0)));
    Frames frames;
    for (auto _ : state) {
        for (Bytes& frame : frames) frame = FrameOf(port, type, bench.NextFrame(), AttributeEvent::JOIN);
        ReceiveAll(state, bench, frames);
    }
    PerValue(state, framesPerRun * valuesPerFrame);
}

void ReceiveNewTalker(benchmark::State& state) {
    Bench bench(static_cast<uint32_t>(state.range(0)));
    Frames frames;
    for (auto _ : state) {
        for (uint32_t n = 0; n < framesPerRun; ++n) {
            frames[n] = FrameOf(talkerPort, TALKER_ADVERTISE, bench.streams + n * valuesPerFrame, AttributeEvent::NEW);
        }
        ReceiveAll(state, bench, frames);
        for (uint32_t n = 0; n < framesPerRun; ++n) bench.Forget(bench.streams + n * valuesPerFrame);
    }
    PerValue(state, framesPerRun * valuesPerFrame);
}

void ReceiveKnownTalker(benchmark::State& state) {
    Refresh(state, talkerPort, TALKER_ADVERTISE);
}

void ReceiveKnownListener(benchmark::State& state) {
    Refresh(state, listenerPort, LISTENER_VECTOR);
}

// Ten talkers that the neighbour has lost are built into each PDU, out of all that are declared to it.
void TransmitTalker(benchmark::State& state) {
    Bench bench(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        double seconds = 0;
        for (uint32_t n = 0; n < framesPerRun; ++n) {
            bench.Receive(FrameOf(listenerPort, TALKER_ADVERTISE, bench.NextFrame(), AttributeEvent::MT));
            size_t sent = 0;
            seconds +=
                Measure([&] { sent = bench.BuildPdu(listenerPort, TALKER_ADVERTISE, sizeof(TalkerFirstValue)); });
            if (sent != valuesPerFrame) state.SkipWithError("not every value was sent");
        }
        state.SetIterationTime(seconds);
    }
    PerValue(state, framesPerRun * valuesPerFrame);
}

// Five times a second: nothing that is registered and quiet is looked at.
void LeaveTimerTick(benchmark::State& state) {
    Bench bench(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) bench.msrp.LeaveTimerTick();
}

BENCHMARK(ReceiveNewTalker)->Arg(10)->Arg(1'000)->Arg(10'000)->UseManualTime();
BENCHMARK(ReceiveKnownTalker)->Arg(10)->Arg(1'000)->Arg(10'000)->UseManualTime();
BENCHMARK(ReceiveKnownListener)->Arg(10)->Arg(1'000)->Arg(10'000)->UseManualTime();
BENCHMARK(TransmitTalker)->Arg(10)->Arg(1'000)->Arg(10'000)->UseManualTime();
BENCHMARK(LeaveTimerTick)->Arg(10)->Arg(1'000)->Arg(10'000);

}  // namespace

}  // namespace norvad::bench
