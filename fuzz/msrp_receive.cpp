// Any frames on any ports into a whole MSRP handler, with time passing, ports coming and going and an operator in
// between. An input is a sequence of actions: a byte that names one, then what it takes. After each action the records
// must still agree with one another and with the switch.

#include <algorithm>
#include <boost/program_options.hpp>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "base/ethertypes.h"
#include "base/log.h"
#include "base/timer_service.h"
#include "msrp/msrp_handler.h"
#include "tests/support/fake_switch.h"
#include "tests/support/stepped_clock.h"

using namespace norvad;
using norvad::test::FakeSwitch;

namespace {

constexpr size_t mostActions = 64;

void Require(bool holds) {
    if (!holds) std::abort();
}

class Input {
public:
    explicit Input(std::span<const uint8_t> bytes) : rest(bytes) {}

    bool IsEmpty() const { return rest.empty(); }
    uint8_t Byte() {
        if (rest.empty()) return 0;
        const uint8_t byte = rest.front();
        rest = rest.subspan(1);
        return byte;
    }
    // Behind a length of two bytes.
    std::span<const uint8_t> Bytes() {
        const size_t high = Byte();
        const size_t wanted = high << 8 | Byte();
        const auto taken = rest.first(std::min(wanted, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    }

private:
    std::span<const uint8_t> rest;
};

class Bridge {
public:
    Bridge() {
        constexpr uint8_t inService[] = {0, 1, 2, 6};
        for (const uint8_t port : inService) board.Raise(port);
    }

    void Act(Input& input) {
        switch (input.Byte() % 6) {
            case 0:
                ReceivePdu(input.Byte(), input.Bytes());
                break;
            case 1:
                Receive(input.Bytes());
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
    // The handler gets a buffer that ends where the frame ends, so that the address sanitizer sees a read beyond it.
    void Receive(std::span<const uint8_t> frame) {
        const auto copy = std::make_unique<uint8_t[]>(frame.size());
        std::copy(frame.begin(), frame.end(), copy.get());
        msrp.HandleFrame({copy.get(), frame.size()}, ETHERTYPE_MSRP);
    }

    void ReceivePdu(uint8_t port, std::span<const uint8_t> pdu) {
        TaggedHeader header{};
        header.tag.port = static_cast<uint8_t>(port << 3);
        header.etherType = ETHERTYPE_MSRP;
        const auto front = BytesOf(header);
        std::vector<uint8_t> frame(front.begin(), front.end());
        frame.insert(frame.end(), pdu.begin(), pdu.end());
        Receive(frame);
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
        namespace po = boost::program_options;
        po::options_description options;
        msrp.AddControlOptions(options);
        po::variables_map values;
        const std::vector<std::string> arguments = {option, std::to_string(number)};
        po::store(po::command_line_parser(arguments).options(options).run(), values);
        std::ostringstream answer;
        msrp.HandleControlOptions(values, answer);
        Require(!answer.str().empty());
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
