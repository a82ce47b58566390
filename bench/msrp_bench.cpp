// What one MSRP value costs, with few and with many streams registered. A run handles ten frames of ten values each,
// which go round the registered streams, so that every stream is as cold as in life. Processor time of the thread is
// measured, as other programs run too.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <random>
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

using StreamNumbers = std::array<uint32_t, valuesPerFrame>;

StreamNumbers NumbersFrom(uint32_t first) {
    StreamNumbers numbers;
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

// A frame from a port with ten streams: talkers, or listeners that are ready.
Bytes FrameOf(uint8_t port, uint8_t type, const StreamNumbers& numbers, AttributeEvent event) {
    Bytes frame(MRPDUWriter::bufferSize);
    TaggedHeader header{};
    header.destination = msrpGroupAddress;
    header.tag = {ETHERTYPE_TAG, 0, 0, static_cast<uint8_t>(port << 3), {0, 0}};
    header.etherType = ETHERTYPE_MSRP;
    Put(frame, 0, header);

    MRPDUWriter pdu(std::span<uint8_t>(frame).subspan(taggedHeaderSize), MessageLayout::WithListLength);
    pdu.BeginMessage(type, type == TALKER_ADVERTISE ? sizeof(TalkerFirstValue) : sizeof(ListenerFirstValue));
    for (const uint32_t number : numbers) {
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
    explicit Bench(uint32_t streams) : streams(streams), order(streams) {
        std::iota(order.begin(), order.end(), 0);
        bridge.Raise(talkerPort);
        bridge.Raise(listenerPort);
        for (uint32_t first = 0; first < streams; first += valuesPerFrame) {
            Receive(FrameOf(talkerPort, TALKER_ADVERTISE, NumbersFrom(first), AttributeEvent::NEW));
            Receive(FrameOf(listenerPort, LISTENER_VECTOR, NumbersFrom(first), AttributeEvent::NEW));
        }
        SendEverything();
    }

    void Receive(Bytes frame) { msrp.HandleFrame(frame, ETHERTYPE_MSRP); }

    // As no neighbour sends them, but as several neighbours' streams come mixed.
    void Shuffle() { std::shuffle(order.begin(), order.end(), std::mt19937(1)); }

    // The streams of each frame in turn.
    StreamNumbers NextFrame() {
        StreamNumbers numbers;
        std::copy_n(order.begin() + next, valuesPerFrame, numbers.begin());
        next = (next + valuesPerFrame) % streams;
        return numbers;
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
    std::vector<uint32_t> order;  // in which the streams are refreshed; that of their arrival until shuffled
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

enum class Order : uint8_t { OfArrival, Random };

void Refresh(benchmark::State& state, uint8_t port, uint8_t type, Order order) {
    Bench bench(static_cast<uint32_t>(state.range(0)));
    if (order == Order::Random) bench.Shuffle();
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
            frames[n] = FrameOf(talkerPort, TALKER_ADVERTISE, NumbersFrom(bench.streams + n * valuesPerFrame),
                                AttributeEvent::NEW);
        }
        ReceiveAll(state, bench, frames);
        for (uint32_t n = 0; n < framesPerRun; ++n) bench.Forget(bench.streams + n * valuesPerFrame);
    }
    PerValue(state, framesPerRun * valuesPerFrame);
}

void ReceiveKnownTalker(benchmark::State& state) {
    Refresh(state, talkerPort, TALKER_ADVERTISE, Order::OfArrival);
}

void ReceiveKnownTalkerInRandomOrder(benchmark::State& state) {
    Refresh(state, talkerPort, TALKER_ADVERTISE, Order::Random);
}

void ReceiveKnownListener(benchmark::State& state) {
    Refresh(state, listenerPort, LISTENER_VECTOR, Order::OfArrival);
}

void ReceiveKnownListenerInRandomOrder(benchmark::State& state) {
    Refresh(state, listenerPort, LISTENER_VECTOR, Order::Random);
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
BENCHMARK(ReceiveKnownTalkerInRandomOrder)->Arg(10)->Arg(10'000)->UseManualTime();
BENCHMARK(ReceiveKnownListenerInRandomOrder)->Arg(10)->Arg(10'000)->UseManualTime();
BENCHMARK(TransmitTalker)->Arg(10)->Arg(1'000)->Arg(10'000)->UseManualTime();
BENCHMARK(LeaveTimerTick)->Arg(10)->Arg(1'000)->Arg(10'000);

}  // namespace

}  // namespace norvad::bench
