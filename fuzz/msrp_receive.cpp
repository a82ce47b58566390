// Any frames on any ports into a whole MSRP handler, with time passing, ports coming and going and an operator in
// between. An input is a sequence of actions: a byte that names one, then what it takes. After each action the records
// must still agree with one another and with the switch.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/ethertypes.h"
#include "base/log.h"
#include "base/timer_service.h"
#include "fuzz/input.h"
#include "msrp/msrp_handler.h"
#include "tests/support/fake_switch.h"
#include "tests/support/operator.h"
#include "tests/support/stepped_clock.h"

using namespace norvad;
using norvad::fuzz::Input;
using norvad::fuzz::Require;
using norvad::test::Bytes;
using norvad::test::Copy;
using norvad::test::FakeSwitch;
using norvad::test::Join;

namespace {

constexpr size_t mostActions = 64;

class Bridge {
public:
    Bridge() {
        constexpr uint8_t inService[] = {0, 1, 2, 6};
        for (const uint8_t port : inService) board.Raise(port);
    }

    void Act(Input& input) {
        switch (input.Byte() % 6) {
            case 0:
                ReceivePdu(input.Byte(), input.Bytes(input.Short()));
                break;
            case 1:
                Receive(input.Bytes(input.Short()));
                break;
            case 2:
                Run(input.Byte());
                break;
            case 3:
                ChangePort(static_cast<uint8_t>(input.Byte() % FakeSwitch::portCount), input.Byte());
                break;
            case 4:
                Command("--listenerlv", input.Byte());
                break;
            case 5:
                Command("--talkerlv", input.Byte());
                break;
        }
        CheckRecords();
    }

private:
    void Receive(const Bytes& frame) { msrp.HandleFrame(Copy(frame), ETHERTYPE_MSRP); }

    void ReceivePdu(uint8_t port, const Bytes& pdu) {
        TaggedHeader header{};
        header.tag.port = static_cast<uint8_t>(port << 3);
        header.etherType = ETHERTYPE_MSRP;
        Receive(Join({Copy(BytesOf(header)), pdu}));
    }

    void Run(uint8_t tenthsOfSeconds) {
        for (unsigned i = 0; i < tenthsOfSeconds; ++i) {
            clock.AdvanceMs(100);
            (void)timers.runDue();
        }
        board.sent.clear();
        board.bandwidthCalls.clear();
    }

    // Each of the states that differ becomes an event, in the order in which the switch tells them.
    void ChangePort(uint8_t port, uint8_t states) {
        FakeSwitch::Port& now = board.ports[port];
        const bool up = (states & 1) != 0, stpUp = (states & 2) != 0, avbUp = (states & 4) != 0;
        now.peerIsSameMake = (states & 8) != 0;
        if (now.up != up) {
            now.up = up;
            up ? msrp.PortUp(port) : msrp.PortDown(port);
        }
        if (now.stpUp != stpUp) {
            now.stpUp = stpUp;
            stpUp ? msrp.PortStpUp(port) : msrp.PortStpDown(port);
        }
        if (now.avbUp != avbUp) {
            now.avbUp = avbUp;
            avbUp ? msrp.PortAvbUp(port) : msrp.PortAvbDown(port);
        }
    }

    void Command(const char* option, uint8_t number) {
        Require(!norvad::test::AnswerOf(msrp, {option, std::to_string(number)}).empty());
    }

    void CheckRecords() {
        size_t reservations = 0;
        for (uint8_t port = 0; port < msrp.PortCount(); ++port) {
            msrp.ForEach(port, TALKER_ADVERTISE, [&](MRPAttribute& record) {
                CheckSources(record, static_cast<Talker&>(record).stream,
                             [](const StreamRecords& there) { return there.talker && there.talker->IsRegistered(); });
            });
            msrp.ForEach(port, TALKER_FAILED, [&](MRPAttribute& record) {
                CheckSources(record, static_cast<TalkerFailed&>(record).stream, [](const StreamRecords& there) {
                    return (there.talker && there.talker->IsRegistered()) ||
                           (there.talkerFailed && there.talkerFailed->IsRegistered());
                });
            });
            msrp.ForEach(port, LISTENER_VECTOR, [&](MRPAttribute& record) {
                auto& listener = static_cast<Listener&>(record);
                CheckSources(record, listener.stream, [](const StreamRecords& there) { return there.listener; });
                if (listener.reservation.active) CheckReservation(listener);
                reservations += listener.reservation.active;
            });
        }
        Require(board.multicasts.size() <= reservations);
    }

    // Whoever a record is declared for is there.
    template <typename IsThere>
    void CheckSources(const MRPAttribute& record, const StreamEntry* stream, IsThere isThere) {
        Require(stream != nullptr);
        for (uint8_t source = 0; source < msrp.PortCount(); ++source) {
            if (record.sources.Contains(source)) Require(source != record.port && isThere(stream->On(source)));
        }
    }

    // A reservation is held by a registered listener that is joined to a registered talker.
    void CheckReservation(const Listener& listener) {
        Require(listener.IsRegistered());
        bool joined = false;
        for (uint8_t port = 0; port < msrp.PortCount(); ++port) {
            const StreamRecords& there = listener.stream->On(port);
            const bool towards = there.listener && there.listener->sources.Contains(listener.port);
            joined = joined || (towards && there.talker && there.talker->IsRegistered());
        }
        Require(joined);
    }

    norvad::test::SteppedClock clock;
    TimerService timers{clock};
    FakeSwitch board;
    MSRPHandler msrp{board, board, timers};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    debugLevels.fill(-1);  // not even errors: they would go to the system log
    Input input({data, size});
    Bridge bridge;
    for (size_t actions = 0; actions < mostActions && !input.IsEmpty(); ++actions) bridge.Act(input);
    return 0;
}
