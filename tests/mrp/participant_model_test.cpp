// Random lives of a participant, beside a literal model of it: the same lines in the same order, the same PDUs to the
// byte.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "base/log.h"
#include "mrp/mrp.h"
#include "mrp/mrpdu.h"
#include "tests/mrp/grid.h"
#include "tests/mrp/participant_model.h"
#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"
#include "tests/support/stepped_time.h"

namespace norvad::test {
namespace {

constexpr uint8_t portCount = 3;

// The values are long, so that few of them fill a PDU. Type 3 has a four-packed event.
const std::vector<MessageForm> messages = {{1, 200}, {2, 250}, {3, 90}, {4, 2}};

struct Value {
    uint8_t type;
    uint8_t number;

    Bytes FirstValue() const {
        Bytes bytes(messages[type - 1u].firstValueLength, number);
        bytes[0] = type;
        return bytes;
    }
    std::optional<uint8_t> FourPacked() const {
        if (type != 3) return {};
        return static_cast<uint8_t>(number % 4);
    }
};

class LongAttribute final : public MRPAttribute {
public:
    LongAttribute(Value value, uint8_t port)
        : MRPAttribute(value.type, port), value(value), bytes(value.FirstValue()) {}

    std::span<const uint8_t> FirstValue() const override { return bytes; }
    std::optional<uint8_t> FourPackedEvent() const override { return value.FourPacked(); }
    std::string Text() const override { return std::to_string(type) + "." + std::to_string(value.number); }

    const Value value;

private:
    const Bytes bytes;
};

// The application of both: what is registered on one port is declared on the others.
std::string PropagateLine(uint32_t port, const Bytes& value, Event indication) {
    return "propagate " + ToHex(Part(value, 0, 2)) + " of port " + std::to_string(port) + " " + Name(indication);
}
std::string DeleteLine(uint32_t port, const Bytes& value) {
    return "delete " + ToHex(Part(value, 0, 2)) + " of port " + std::to_string(port);
}

class RealParticipant final : public MRP {
public:
    RealParticipant(TimerService& timers, MessageLayout layout) : MRP(timers, portCount), layout(layout) {}

    MRPAttribute& Introduce(uint8_t port, Value value, bool periodic, bool pointToPoint) {
        MRPAttribute& attribute = Insert(std::make_unique<LongAttribute>(value, port), periodic);
        attribute.state.pointToPoint = pointToPoint;
        records[{port, value.type, value.number}] = &attribute;
        char address[32];
        std::snprintf(address, sizeof address, "%p", static_cast<const void*>(&attribute.state));
        addresses.emplace_back(address);
        return attribute;
    }
    MRPAttribute* Find(uint8_t port, Value value) {
        const auto found = records.find({port, value.type, value.number});
        return found == records.end() ? nullptr : found->second;
    }

    std::vector<Bytes> pdus;
    std::vector<std::string> addresses;  // of all records that were ever made, as the log shows them

private:
    void Propagate(MRPAttribute& attribute, Event indication, uint8_t port) override {
        log(LogCategory::MRP, 0, "%s\n", PropagateLine(port, Copy(attribute.FirstValue()), indication).c_str());
        const Value value = static_cast<LongAttribute&>(attribute).value;
        for (uint8_t other = 0; other < portCount; ++other) {
            if (other == port) continue;
            MRPAttribute* record = Find(other, value);
            if (record == nullptr && indication != Event::LV) record = &Introduce(other, value, false, false);
            if (record != nullptr) RunAttributeStateMachines(record, other, indication);
        }
    }
    void TransmitPdu(uint8_t port) override {
        log(LogCategory::MRP, 0, "transmit %d\n", port);
        Bytes payload(MRPDUWriter::bufferSize - 22);
        MRPDUWriter pdu(payload, layout);
        const bool leaveAll = TxLeaveAll(port);
        AddMessages(pdu, port, messages, leaveAll, [](size_t place, size_t values) {
            if (values > 0) log(LogCategory::MRP, 0, "added %zu of type %d\n", values, messages[place].type);
        });
        if (pdu.IsEmpty()) return;
        payload.resize(pdu.Finish());
        pdus.push_back(payload);
    }
    void DeleteAttribute(MRPAttribute& attribute) override {
        log(LogCategory::MRP, 0, "%s\n", DeleteLine(attribute.port, Copy(attribute.FirstValue())).c_str());
        records.erase({attribute.port, attribute.type, static_cast<LongAttribute&>(attribute).value.number});
    }

    const MessageLayout layout;
    std::map<std::tuple<uint8_t, uint8_t, uint8_t>, MRPAttribute*> records;
};

// Participant and model on one clock; everything is done to both.
class SideBySide {
public:
    explicit SideBySide(uint32_t seed, MessageLayout layout = MessageLayout::WithListLength)
        : real(time.timers, layout), model(time.clock, portCount, messages, layout) {
        time.timers.Random().Seed(seed);
        model.timers.random.Seed(seed);
        model.onPropagate = [this](ModelAttribute& attribute, Event event) { PropagateInModel(attribute, event); };
        model.onDelete = [this](ModelAttribute& gone) { model.Note(DeleteLine(gone.port, gone.value)); };
    }

    bool Has(uint8_t port, Value value) { return real.Find(port, value) != nullptr; }
    void Introduce(uint8_t port, Value value, bool periodic, bool pointToPoint) {
        Both([&] { real.Introduce(port, value, periodic, pointToPoint); },
             [&] {
                 IntroduceInModel(port, value.type, value.FirstValue(), value.FourPacked(), periodic, pointToPoint);
             });
    }
    void Run(uint8_t port, Value value, Event event) {
        Both([&] { real.RunAttributeStateMachines(real.Find(port, value), port, event); },
             [&] { model.Run(&InModel(port, value), port, event); });
    }
    void RunWithoutAttribute(uint8_t port, Event event) {
        Both([&] { real.RunAttributeStateMachines(nullptr, port, event); }, [&] { model.Run(nullptr, port, event); });
    }
    void ApplyToPort(uint8_t port, Event event) {
        Both([&] { real.ApplyToPort(port, event); }, [&] { model.ApplyToPort(port, event); });
    }
    void ApplyToType(uint8_t port, uint8_t type, Event event) {
        Both([&] { real.ApplyToType(port, type, event); }, [&] { model.ApplyToType(port, type, event); });
    }
    void RequestTransmit(uint8_t port) {
        Both([&] { real.RequestTransmit(port); }, [&] { model.RequestTransmit(port); });
    }
    void Remove(uint8_t port, Value value) {
        Both([&] { real.RemoveAttribute(*real.Find(port, value)); }, [&] { model.Remove(InModel(port, value)); });
    }
    // The leave timer runs in LV, with some ticks left.
    void SetStates(uint8_t port, Value value, ApplicantState applicant, RegistrarState registrar) {
        MRPAttributeState& state = real.Find(port, value)->state;
        ModelAttribute& modelled = InModel(port, value);
        state.applicant = modelled.applicant = applicant;
        state.registrar = modelled.registrar = registrar;
        state.leaveTimer = registrar == RegistrarState::LV ? 3 : -1;
        modelled.leaveTimer = state.leaveTimer;
    }
    void PassUs(uint64_t us) {
        time.clock.AdvanceUs(us);
        Both([&] { time.timers.runDue(); }, [&] { model.timers.RunDue(); });
    }

    // What differs since the last call; nothing when both did the same.
    std::string Difference() {
        std::string difference;
        if (traced != model.trace) difference = FirstDifference(Lines(traced), Lines(model.trace));
        traced.clear();
        model.trace.clear();
        if (real.pdus != model.pdus) difference += "PDUs of\n" + Hex(real.pdus) + "by the model\n" + Hex(model.pdus);
        sent += real.pdus.size();
        real.pdus.clear();
        model.pdus.clear();
        return difference;
    }
    size_t Sent() const { return sent; }

private:
    using ModelAttribute = ParticipantModel::Attribute;

    template <typename ToReal, typename ToModel>
    void Both(ToReal toReal, ToModel toModel) {
        CapturedLog captured(LogCategory::MRP, 2);
        toReal();
        traced += captured.Text();
        toModel();
    }
    ModelAttribute& InModel(uint8_t port, Value value) { return *model.Find(port, value.type, value.FirstValue()); }

    // The n-th record of the model has the address that the n-th of the participant had.
    ModelAttribute& IntroduceInModel(uint8_t port, uint8_t type, const Bytes& value, std::optional<uint8_t> fourPacked,
                                     bool periodic, bool pointToPoint) {
        return model.Insert(
            {type, port, value, fourPacked, periodic, pointToPoint, real.addresses.at(introducedInModel++)});
    }
    void PropagateInModel(ModelAttribute& attribute, Event indication) {
        model.Note(PropagateLine(attribute.port, attribute.value, indication));
        for (uint8_t port = 0; port < portCount; ++port) {
            if (port == attribute.port) continue;
            ModelAttribute* record = model.Find(port, attribute.type, attribute.value);
            if (record == nullptr && indication != Event::LV) {
                record = &IntroduceInModel(port, attribute.type, attribute.value, attribute.fourPacked, false, false);
            }
            if (record != nullptr) model.Run(record, port, indication);
        }
    }

    static std::vector<std::string> Lines(const std::string& text) {
        std::istringstream stream(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }
    static std::string FirstDifference(const std::vector<std::string>& ofReal,
                                       const std::vector<std::string>& ofModel) {
        for (size_t n = 0; n < std::max(ofReal.size(), ofModel.size()); ++n) {
            const std::string first = n < ofReal.size() ? ofReal[n] : "nothing";
            const std::string second = n < ofModel.size() ? ofModel[n] : "nothing";
            if (first != second) return "line " + std::to_string(n) + "\n" + first + "\nby the model\n" + second + "\n";
        }
        return "";
    }
    static std::string Hex(const std::vector<Bytes>& pdus) {
        std::string text;
        for (const Bytes& pdu : pdus) text += ToHex(pdu) + "\n";
        return text;
    }

    SteppedTime time;
    RealParticipant real;
    ParticipantModel model;
    std::string traced;
    size_t introducedInModel = 0;
    size_t sent = 0;
};

// Every cell of all three machines at once: the states and flags are set, one event runs, and then time, until all
// that the event has started is over.
TEST(ParticipantAndItsModel, AgreeOnEveryCell) {
    constexpr Value value{1, 1};
    for (const Event event : AllOf<Event>(eventCount)) {
        for (const ApplicantState applicant : AllOf<ApplicantState>(applicantStateCount)) {
            for (const RegistrarState registrar : AllOf<RegistrarState>(registrarStateCount)) {
                for (const unsigned flags : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u}) {
                    SideBySide both(flags);
                    both.Introduce(0, value, (flags & 1) != 0, (flags & 2) != 0);
                    if ((flags & 4) != 0) both.RunWithoutAttribute(0, Event::LEAVEALLTIMER);
                    both.SetStates(0, value, applicant, registrar);

                    both.Run(0, value, event);
                    for (const uint64_t ms : {1, 1, 300, 200, 200, 200, 200, 200, 400}) both.PassUs(ms * 1'000);

                    ASSERT_EQ(both.Difference(), "")
                        << Name(event) << " in " << Name(applicant) << " and " << Name(registrar) << " flags " << flags;
                }
            }
        }
    }
}

// What may happen to a participant, drawn from a seed.
class Life {
public:
    Life(SideBySide& both, uint32_t seed) : both(both), random(seed) {}

    void Act() {
        const uint32_t drawn = Below(100);
        if (drawn < 45) return RunSome();
        if (drawn < 85) return PassTime();
        if (drawn < 88) return both.ApplyToType(AnyPort(), AnyValue().type, Event::RLA);
        if (drawn < 90) return both.RunWithoutAttribute(AnyPort(), Below(2) == 0 ? Event::RLA : Event::LEAVEALLTIMER);
        if (drawn < 91) return both.ApplyToPort(AnyPort(), Event::FLUSH);
        if (drawn < 93) return PortUp();
        if (drawn < 94) return both.ApplyToPort(AnyPort(), AnyEvent());
        if (drawn < 97) return both.RequestTransmit(AnyPort());
        const uint8_t port = AnyPort();
        const Value value = AnyValue();
        if (both.Has(port, value)) both.Remove(port, value);
    }

private:
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random() % bound); }
    uint8_t AnyPort() { return static_cast<uint8_t>(Below(portCount)); }
    Event AnyEvent() { return static_cast<Event>(Below(eventCount)); }
    Value AnyValue() {
        const auto type = static_cast<uint8_t>(1 + Below(static_cast<uint32_t>(messages.size())));
        return {type, static_cast<uint8_t>(Below(10))};
    }

    void RunSome() {
        const uint8_t port = AnyPort();
        const Value value = AnyValue();
        const Event usual[] = {Event::RNEW, Event::RJOIN_IN, Event::RIN,  Event::RJOINMT, Event::RMT,
                               Event::RLV,  Event::NEW,      Event::JOIN, Event::LV};
        const Event event = Below(10) == 0 ? AnyEvent() : usual[Below(std::size(usual))];
        if (!both.Has(port, value)) both.Introduce(port, value, Below(2) == 0, Below(2) == 0);
        both.Run(port, value, event);
    }
    void PortUp() {
        const uint8_t up = AnyPort();
        both.ApplyToPort(up, Event::REDECLARE);
        for (uint8_t port = 0; port < portCount; ++port) {
            if (port != up) both.ApplyToPort(port, Event::REPROPAGATE);
        }
    }
    void PassTime() {
        constexpr uint32_t upToUs[] = {10, 2'000, 2'000, 30'000, 30'000, 200'000, 400'000};
        both.PassUs(Below(50) == 0 ? Below(15'000'000) : Below(upToUs[Below(std::size(upToUs))]));
    }

    SideBySide& both;
    std::mt19937 random;
};

TEST(ParticipantAndItsModel, LeaveTheSameTraceAndSendTheSameBytes) {
    constexpr uint32_t runs = 100;
    constexpr int actions = 400;
    size_t sent = 0;

    for (uint32_t seed = 0; seed < runs; ++seed) {
        SideBySide both(seed, seed % 2 == 0 ? MessageLayout::WithListLength : MessageLayout::WithoutListLength);
        Life life(both, seed);
        for (int action = 0; action < actions; ++action) {
            life.Act();
            ASSERT_EQ(both.Difference(), "") << "seed " << seed << " action " << action;
        }
        sent += both.Sent();
    }

    EXPECT_GT(sent, runs * 50u);  // or the runs were too tame to tell
}

}  // namespace
}  // namespace norvad::test
