// A whole bridge, as the daemon assembles it, between a fake switch, its neighbours and an operator. An input is a byte
// of options and a sequence of actions: a byte that names one, then what it takes. After each action what the bridge
// knows, declares and asked the driver for must agree.
//
// The seeds are written by hand in that form. One that begins with
//     06                         capable ports, silence at the end
//     02 00 00 01 40 81 00       MSRP from port 0: talker 1 joins, no further message
//     02 01 02 01 aa 81 00       MSRP from port 1: a ready listener joins
//     0a 01 f4                   half a second passes
// has a stream.

#include <algorithm>
#include <array>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "base/ethertypes.h"
#include "base/log.h"
#include "daemon/control/command_executor.h"
#include "fuzz/input.h"
#include "fuzz/whole_bridge/frames.h"
#include "fuzz/whole_bridge/invariants.h"
#include "fuzz/whole_bridge/requested_tables.h"
#include "fuzz/whole_bridge/violation.h"
#include "ptp/grandmaster_export.h"
#include "ptp/ptp_handler.h"
#include "ptp/ptp_messages.h"
#include "switch/lldp_handler.h"
#include "tests/support/fake_doors.h"
#include "tests/support/stepped_clock.h"

using namespace norvad;
using norvad::fuzz::ChoosePort;
using norvad::fuzz::Input;
using norvad::fuzz::Violated;
using norvad::test::Bytes;

namespace {

constexpr size_t mostActions = 64;
constexpr size_t mostRecordsChecked = 400'000;  // so that an input of many values ends in time
constexpr uint64_t longestRunMs = 20'000;
constexpr uint64_t silenceMs = 20'000;  // a LeaveAll comes within 15 s, a registration is gone a second later

// Lines are formatted, and then nobody reads them.
class Nowhere final : public LogSink {
public:
    void Write(LogCategory, int32_t, const char* message) override {
        if (std::char_traits<char>::length(message) > logMessageLength) Violated("a line fits", message);
    }
};

class Unheard final : public GrandmasterOutput {
public:
    void WriteIdentity(const ClockIdentity&) override {}
    void Send(const GrandmasterMessage& message) override {
        if (message.pathCount > grandmasterPathCapacity) Violated("a path fits its message", message.pathCount);
    }
};

struct Options {
    explicit Options(uint8_t byte) : byte(byte) {}
    bool Trace() const { return (byte & 1) != 0; }
    bool IsAvbAtFirst() const { return (byte & 2) != 0; }
    bool EndsInSilence() const { return (byte & 4) != 0; }
    PtpSettings Ptp() const { return {static_cast<uint8_t>(byte & 0xF0), (byte & 8) != 0}; }

    // How many values composed frames declare: few most often, so that inputs are fast, or more than a bridge keeps.
    size_t Values() const { return byte == 0xF2 ? 20'000 : 200; }

    uint8_t byte;
};

class Run {
public:
    Run(Options options, Input& input) : options(options), input(input) {
        debugLevels.fill(options.Trace() ? 6 : 0);
        FrameDispatcher& registry = bridge.Dispatcher();
        registry.AddHandler(msrp);
        registry.AddHandler(mvrp);
        registry.AddHandler(boost::make_shared<PTPHandler>(bridge, bridge, bridge.Timers(), bridge.GetMacAddress(),
                                                           options.Ptp(), std::make_unique<Unheard>()));
        registry.AddHandler(boost::make_shared<LLDPHandler>());
        SetLinks(0x0E000EEE);  // ports 0, 1, 2 and the one to the CPU are in service
        if (!options.IsAvbAtFirst()) return;
        for (const uint8_t port : {uint8_t{0}, uint8_t{1}, cpuPort}) bridge.SetAsCapable(port, true, false);
    }

    void Go() {
        for (size_t actions = 0; actions < mostActions && !input.IsEmpty(); ++actions) {
            if (invariants.RecordsChecked() > mostRecordsChecked) return;
            Act(input.Byte());
            Check();
        }
        if (!options.EndsInSilence() || !invariants.FitsOnePdu()) return;
        PassMs(silenceMs);
        Check();
        invariants.CheckNothingIsLeft(requested);
    }

private:
    void Act(uint8_t action) {
        switch (action % 16) {
            case 0:
                return Receive(input.Bytes(input.Short() % (receiveBufferSize + 1)));
            case 1:
                return ReceiveRaw();
            case 2:
            case 3:
                return Receive(fuzz::ComposeMsrp(input, budget));
            case 4:
                return Receive(fuzz::ComposeMvrp(input, budget));
            case 5:
                return Receive(fuzz::ComposeAnnounce(input));
            case 6:
                return Receive(fuzz::ComposeSync(input));
            case 7:
                return Receive(fuzz::ComposeFollowUp(input, clock.Ns()));
            case 8:
                return ReceivePeerDelay();
            case 9:
                return Receive(fuzz::ComposePtp(input));
            case 10:
                return PassSome(input.Short() % 4000);
            case 11:
                return ChangeLink();
            case 12:
                return ChangeAvb();
            case 13:
                return Fail();
            case 14:
                return Command();
            case 15:
                return Oddity();
        }
    }

    void Receive(Bytes frame) {
        doors.frames.Queue(std::move(frame));
        bridge.Dispatcher().ReadFrame();
    }

    void ReceiveRaw() {
        constexpr std::array<uint16_t, 4> etherTypes{ETHERTYPE_MSRP, ETHERTYPE_MVRP, ETHERTYPE_PTP2, ETHERTYPE_LLDP};
        const uint16_t etherType = etherTypes[input.Byte() % etherTypes.size()];
        const uint8_t port = ChoosePort(input);
        Receive(fuzz::FrameAround(port, etherType, input.Bytes(input.Short() % (receiveBufferSize - 21))));
    }

    // A request, or the whole answer to the last request of the port.
    void ReceivePeerDelay() {
        const uint8_t choice = input.Byte();
        if ((choice & 1) != 0) return Receive(fuzz::ComposePdelayReq(input));
        const uint8_t port = choice >> 1 & 1;
        const uint64_t delayNs = uint64_t{1} << (choice >> 3 & 15);
        Receive(fuzz::ComposePdelayResp(port, requestIds[port], clock.Ns()));
        Receive(fuzz::ComposePdelayRespFollowUp(port, requestIds[port], clock.Ns() + delayNs, (choice & 4) != 0));
    }

    void PassSome(uint64_t wantedMs) {
        const uint64_t ms = std::min(wantedMs, restMs);
        restMs -= ms;
        PassMs(ms);
    }

    void PassMs(uint64_t ms) {
        const uint64_t endNs = clock.Ns() + ms * 1'000'000;
        uint64_t waitMs = bridge.Timers().runDue();
        while (clock.Ns() + waitMs * 1'000'000 <= endNs) {
            clock.AdvanceMs(waitMs);
            waitMs = bridge.Timers().runDue();
        }
        if (clock.Ns() < endNs) clock.AdvanceNs(endNs - clock.Ns());
        bridge.Timers().runDue();
    }

    void SetLinks(uint32_t value) {
        links = value;
        doors.links.Queue(test::PortLinkMessage("eth0", links));
        bridge.UpdateLinks();
    }

    void ChangeLink() {
        constexpr std::array<uint32_t, 8> values{0, 0xE, 0xD, 0xA, 0x9, 0x4, 0x8, 0xE};
        const uint8_t choice = input.Byte();
        const uint32_t shift = 4 * (choice % portCount);
        SetLinks((links & ~(0xFu << shift)) | values[choice >> 5] << shift);
    }

    void ChangeAvb() {
        const uint8_t choice = input.Byte();
        bridge.SetAsCapable(choice % 8, (choice & 0x80) != 0, (choice & 0x40) != 0);
    }

    // The driver or the frame socket refuses what it is asked for next, or the driver has no time stamps.
    void Fail() {
        const uint8_t choice = input.Byte();
        doors.driver.failNext = choice & 7;
        doors.frames.failWrites = choice >> 3 & 3;
        if ((choice & 0x20) != 0) doors.frames.onTransmit = nullptr;
        if ((choice & 0x40) != 0) doors.frames.onReceive = nullptr;
        if ((choice & 0x80) != 0) doors.driver.clockOffsetNs += input.Number(8);
    }

    void Command() {
        constexpr std::array words{"--msrp",    "--dom",      "--mvrp",       "--ptp",      "--ports",     "--info",
                                   "--help",    "--debug",    "--window",     "--as",       "--priority1", "--egress0",
                                   "--egress1", "--talkerlv", "--listenerlv", "--debug mrp"};
        const uint8_t choice = input.Byte();
        if ((choice & 0x80) != 0) return Execute(input.Bytes(choice & 0x7F));
        std::string text = words[choice % words.size()];
        if ((choice & 0x10) != 0) text += " " + std::to_string(input.Byte());
        Execute({text.begin(), text.end()});
    }

    void Execute(const Bytes& text) {
        TakeRequests();
        std::ostringstream answer;
        ExecuteCommand(bridge, std::string(text.begin(), text.end()), answer);
        if (answer.str().empty()) Violated("a command is answered", std::string(text.begin(), text.end()));
        for (const Bytes& record : doors.driver.records) {
            const auto limit = Peek<EgressLimitRecord>(record);
            if (limit->header.command == static_cast<uint32_t>(SwitchCommand::SWITCH_EGRESS_LIMIT)) {
                invariants.ExcuseEgress(static_cast<uint8_t>(limit->port));
            }
        }
    }

    void Oddity() {
        const uint8_t choice = input.Byte();
        if (choice == 0) return bridge.Dispatcher().HandleDaemonControlMessage();
        if ((choice & 1) != 0) {
            doors.links.Queue(input.Bytes(choice));
            return bridge.UpdateLinks();
        }
        debugLevels.fill(options.Trace() ? 6 : 0);
    }

    void TakeRequests() {
        requested.Take(doors.driver.records);
        doors.driver.records.clear();
    }

    void Check() {
        TakeRequests();
        for (const Bytes& frame : doors.frames.TakeSent()) CheckSent(frame);
        invariants.Check(requested);
    }

    // What leaves is whole, names its port and fits an Ethernet frame with its tag.
    void CheckSent(const Bytes& frame) {
        constexpr size_t longestFrame = 1522;
        if (frame.size() < minimumTaggedFrame || frame.size() > longestFrame)
            Violated("a frame's length", frame.size());
        const auto header = *Peek<TaggedHeader>(frame);
        const uint8_t port = *TaggedPort(frame);
        const CpuTag tag = FromCpuTag(port);
        if (!std::ranges::equal(BytesOf(header.tag), BytesOf(tag))) Violated("a frame is tagged", port);
        if (header.source != doors.frames.hardwareAddress) Violated("a frame has the bridge's address", port);
        const auto message = Peek<PTPHeader>(frame, taggedHeaderSize);
        if (header.etherType != ETHERTYPE_PTP2 || !message || port >= externalPortCount) return;
        if (message->firstByte == static_cast<uint8_t>(PTPMessage::PDELAY_REQ)) requestIds[port] = message->sequenceId;
    }

    const Options options;
    Input& input;
    test::SteppedClock clock;
    test::FakeDoors doors{clock};
    Switch bridge{"eth0", clock, doors};
    boost::shared_ptr<MSRPHandler> msrp = boost::make_shared<MSRPHandler>(bridge, bridge, bridge.Timers());
    boost::shared_ptr<MVRPHandler> mvrp = boost::make_shared<MVRPHandler>(bridge, bridge, bridge.Timers());
    fuzz::Invariants invariants{bridge, *msrp, *mvrp};
    fuzz::RequestedTables requested;
    std::array<uint16_t, externalPortCount> requestIds{};  // of the last request that each port sent
    uint32_t links = 0;                                    // four bits a port
    uint64_t restMs = longestRunMs;
    size_t budget = options.Values();  // of values that composed frames may declare yet
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FILE* const standardOutput = std::freopen("/dev/null", "w", stdout);
    (void)standardOutput;
    static Nowhere nowhere;
    SetLogSink(&nowhere);
    Input input({data, size});
    const Options options(input.Byte());
    Run(options, input).Go();
    debugLevels = {};
    return 0;
}
