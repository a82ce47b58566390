#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mrp/mrp.h"
#include "mrp/mrpdu.h"
#include "tests/support/bytes.h"
#include "tests/support/stepped_time.h"

namespace norvad::test {

// A two-byte value; counts its living ones.
class TestAttribute final : public MRPAttribute {
public:
    TestAttribute(uint8_t type, uint8_t port, uint8_t value) : MRPAttribute(type, port), bytes{0, value} { ++living; }
    ~TestAttribute() override { --living; }

    std::span<const uint8_t> FirstValue() const override { return bytes; }
    std::string Text() const override { return std::to_string(bytes[1]); }

    static inline int living = 0;

private:
    std::array<uint8_t, 2> bytes;
};

// An application that keeps what it is asked for. By default it transmits one message of types 1 and 2 each.
class TestParticipant final : public MRP {
public:
    TestParticipant(TimerService& timers, const Clock& clock, uint8_t portCount = 2)
        : MRP(timers, portCount), clock(clock) {}

    TestAttribute& Add(uint8_t type, uint8_t port, uint8_t value, bool periodic = false) {
        return static_cast<TestAttribute&>(Insert(std::make_unique<TestAttribute>(type, port, value), periodic));
    }
    void Run(MRPAttribute& attribute, Event event) { RunAttributeStateMachines(&attribute, attribute.port, event); }

    // The PDU that the port would send now.
    Bytes BuildPdu(uint8_t port) {
        Bytes payload(MRPDUWriter::bufferSize - 22);
        MRPDUWriter pdu(payload, MessageLayout::WithListLength);
        const bool leaveAll = TxLeaveAll(port);
        valuesAdded = 0;
        asked.clear();
        AddMessages(pdu, port, messages, leaveAll, [this](size_t place, size_t values) {
            asked.push_back(messages[place].type);
            valuesAdded += values;
        });
        payload.resize(pdu.IsEmpty() ? 0 : pdu.Finish());
        return payload;
    }

    std::vector<std::string> TextsOn(uint8_t port) {
        std::vector<std::string> texts;
        ForEach(port, [&](MRPAttribute& attribute) { texts.push_back(attribute.Text()); });
        return texts;
    }

    struct Sent {
        uint64_t ms;
        uint8_t port;
        Bytes payload;
    };
    std::vector<Sent> sent;
    std::vector<std::string> calls;                     // "propagate 5 JOIN 0" or "delete 5", in order
    std::vector<MessageForm> messages{{1, 2}, {2, 2}};  // that a PDU holds
    std::vector<uint8_t> asked;                         // types for the last PDU, in the order of asking
    size_t valuesAdded = 0;
    std::function<void(MRPAttribute&, Event)> onPropagate = [](MRPAttribute&, Event) {};

protected:
    void Propagate(MRPAttribute& attribute, Event indication, uint8_t port) override {
        calls.push_back("propagate " + attribute.Text() + " " + Name(indication) + " " + std::to_string(port));
        onPropagate(attribute, indication);
    }
    void TransmitPdu(uint8_t port) override {
        const uint64_t nowMs = clock.Monotonic().tv_sec * 1000 + clock.Monotonic().tv_nsec / 1'000'000;
        sent.push_back({nowMs, port, BuildPdu(port)});
    }
    void DeleteAttribute(MRPAttribute& attribute) override { calls.push_back("delete " + attribute.Text()); }

private:
    const Clock& clock;
};

// A participant of two ports on a clock that only the test moves.
struct ParticipantBench : SteppedTime {
    uint64_t NowMs() const { return clock.Ns() / 1'000'000; }

    std::unique_ptr<TestParticipant> owner = std::make_unique<TestParticipant>(timers, clock);
    TestParticipant& mrp = *owner;
};

}  // namespace norvad::test
