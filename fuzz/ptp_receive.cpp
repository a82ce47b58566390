// Any frames on any ports into a whole gPTP handler, with time passing, links coming and going, stamps of every kind
// and an operator in between. An input is a sequence of actions: a byte that names one, then what it takes.

#include <algorithm>
#include <array>
#include <boost/program_options/options_description.hpp>
#include <boost/program_options/variables_map.hpp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/timer_service.h"
#include "base/wire.h"
#include "fuzz/input.h"
#include "ptp/grandmaster_export.h"
#include "ptp/message_builder.h"
#include "ptp/ptp_handler.h"
#include "switch/i4_ptp.h"
#include "tests/support/fake_ports.h"
#include "tests/support/stepped_clock.h"

using namespace norvad;
using norvad::fuzz::Input;
using norvad::fuzz::Require;
using norvad::test::Bytes;
using norvad::test::Copy;
using norvad::test::Join;

namespace {

// Ports and stamps as the input wants them. Every frame sent must be whole, and in a buffer with room for padding.
class FuzzSwitch final : public I4PTP, public norvad::test::FakePorts {
public:
    FuzzSwitch() { ports.fill({true, true, false, false}); }

    std::array<uint16_t, portCount> requestIds{};  // of the last request that each port sent
    uint64_t stamp = 1'000'000'000;
    uint64_t stampStep = 1000;

    uint64_t GetSyncTxTimestamp(uint8_t, uint8_t, uint16_t) override { return NextStamp(); }
    uint64_t GetSyncRxTimestamp(uint8_t, uint8_t, uint16_t) override { return NextStamp(); }
    uint64_t GetTxTimestamp(uint8_t, uint8_t, uint16_t) override { return NextStamp(); }
    uint64_t GetRxTimestamp(uint8_t, uint8_t, uint16_t) override { return NextStamp(); }
    void GetTxTimestamps(uint8_t, uint8_t, uint16_t, uint64_t& first, uint64_t& second) override {
        first = second = NextStamp();
    }
    void GetRxTimestamps(uint8_t, uint8_t, uint16_t, uint64_t& first, uint64_t& second) override {
        first = second = NextStamp();
    }
    void SetClockSteering(int32_t) override {}
    void SetClock(uint64_t value) override { stamp += value; }

    void write(uint8_t port, uint8_t* frame, size_t length) override {
        Require(port < portCount && frame);
        Send(port, {frame, length});
    }
    void writeAllPorts(uint8_t, uint8_t*, size_t) override { Require(false); }
    void SetAsCapable(uint8_t port, bool capable, bool peerIsSameMake) override {
        Require(port < portCount);
        FakePorts::SetAsCapable(port, capable, peerIsSameMake);
    }

private:
    void Send(uint8_t port, std::span<uint8_t> frame) override {
        Require(frame.size() >= sizeof(Framed<SyncMessage>) && frame.size() <= 1522);
        if (frame.size() < minimumTaggedFrame)
            std::memset(frame.data() + frame.size(), 0, minimumTaggedFrame - frame.size());
        const auto header = Peek<PTPHeader>(frame, taggedHeaderSize);
        Require(header->firstByte >> 4 == ptpTransportSpecific);
        if (header->firstByte == static_cast<uint8_t>(PTPMessage::PDELAY_REQ)) requestIds[port] = header->sequenceId;
    }
    uint64_t NextStamp() { return stamp += stampStep; }
};

class CheckedOutput final : public GrandmasterOutput {
public:
    void WriteIdentity(const ClockIdentity&) override {}
    void Send(const GrandmasterMessage& message) override {
        Require(message.clockNumber != 0 && message.fixed == 200);
        Require(message.pathCount >= 1 && message.pathCount <= grandmasterPathCapacity);
        Require(message.path[message.pathCount - 1U] == ClockNumber(ClockIdentityOf({2, 0, 0, 0, 0, 1})));
    }
};

class Run {
public:
    explicit Run(Input input) : input(input) {
        const MacAddress mac{2, 0, 0, 0, 0, 1};
        const uint8_t settings = this->input.Byte();
        handler = std::make_unique<PTPHandler>(device, device, timers, mac.data(), PtpSettings{settings, settings == 1},
                                               std::make_unique<CheckedOutput>());
    }

    void Go() {
        while (!input.IsEmpty()) Act(input.Byte());
    }

private:
    void Act(uint8_t action) {
        switch (action % 8) {
            case 0:
                return RawFrame();
            case 1:
                return Message();
            case 2:
                return PassTime();
            case 3:
                return PortEvent();
            case 4:
                return Stamps();
            case 5:
                return Operator();
            case 6:
                return handler->HandleDaemonControlMessage();
            case 7:
                return AnswerRequest();
        }
    }

    void Hand(const Bytes& frame) { handler->HandleFrame(Copy(frame), ETHERTYPE_PTP2); }

    void RawFrame() {
        const uint16_t length = input.Short() % 2049;
        Hand(input.Bytes(length));
    }

    // A valid header of one of three neighbours, then whatever follows.
    void Message() {
        static constexpr std::array<uint8_t, 8> types{0x10, 0x12, 0x13, 0x18, 0x1A, 0x1B, 0x1C, 0x1B};
        auto frame = BuildSync({}, {});
        const uint8_t choice = input.Byte();
        frame.ethernet.tag.port = static_cast<uint8_t>(input.Byte() << 3);
        PTPHeader& header = frame.message.header;
        header.firstByte = types[choice % types.size()];
        header.sourcePortIdentity.clockIdentity = {2, 0, 0, 0xFF, 0xFE, 0, 0, static_cast<uint8_t>(1 + choice / 8 % 4)};
        header.sequenceId = input.Byte();
        header.correctionField = choice & 0x80 ? static_cast<int64_t>(input.Number(8)) : 0;
        const auto front = BytesOf(frame).first<sizeof(frame) - sizeof(PTPTimestamp)>();
        Hand(Join({Copy(front), input.Bytes(input.Byte() * (choice & 0x40 ? 8U : 1U))}));
    }

    void PassTime() {
        clock.AdvanceMs(input.Short() % 3000);
        timers.runDue();
    }

    void PortEvent() {
        const uint8_t port = input.Byte() % 9, how = input.Byte();
        if (port < 7) device.ports[port].up = (how & 1) != 0;
        if (port < 7) device.ports[port].stpUp = (how & 2) != 0;
        if (how & 4) handler->PortUp(port);
        if (how & 8) handler->PortDown(port);
    }

    void Stamps() {
        device.stamp = input.Number(8);
        device.stampStep = input.Byte() & 1 ? input.Number(8) : 1000;
    }

    void Operator() {
        namespace po = boost::program_options;
        const uint8_t choice = input.Byte();
        const auto value = static_cast<int32_t>(input.Short()) - 300;
        po::variables_map values;
        if (choice & 1) values.insert({"ptp", po::variable_value(boost::any(std::string()), false)});
        if (choice & 2) values.insert({"window", po::variable_value(boost::any(value), false)});
        if (choice & 4) values.insert({"as", po::variable_value(boost::any(value), false)});
        if (choice & 8) values.insert({"priority1", po::variable_value(boost::any(value), false)});
        std::ostringstream answer;
        handler->HandleControlOptions(values, answer);
    }

    // The neighbour's whole answer to the last request on a port.
    void AnswerRequest() {
        const uint8_t port = input.Byte() & 1;
        const ClockIdentity own = ClockIdentityOf({2, 0, 0, 0, 0, 1}), peer = ClockIdentityOf({2, 0, 0, 0, 0, 2});
        auto response = BuildPdelayResp({}, peer);
        response.ethernet.tag.port = static_cast<uint8_t>(port << 3);
        response.message.header.sequenceId = device.requestIds[port];
        response.message.requestReceiptTimestamp = EncodeTimestamp(input.Number(8));
        response.message.requestingPortIdentity = {own, port};
        auto followUp = BuildPdelayRespFollowUp({}, peer);
        followUp.frame.ethernet = response.ethernet;
        followUp.frame.message.header.sequenceId = response.message.header.sequenceId;
        followUp.frame.message.responseOriginTimestamp = EncodeTimestamp(input.Number(8));
        followUp.frame.message.requestingPortIdentity = {own, port};
        Hand(Copy(BytesOf(response)));
        Hand(Copy(BytesOf(followUp)));
    }

    Input input;
    test::SteppedClock clock;
    TimerService timers{clock};
    FuzzSwitch device;
    std::unique_ptr<PTPHandler> handler;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    debugLevels.fill(-1);  // the log is none of the output that is tested here
    Run(Input({data, size})).Go();
    return 0;
}
