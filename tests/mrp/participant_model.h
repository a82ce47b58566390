#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "mrp/mrp.h"
#include "tests/support/bytes.h"
#include "tests/support/stepped_clock.h"
#include "tests/support/timer_model.h"

namespace norvad::test {

// What an event does to the Applicant, one line an event or several: from>to, behind a stroke what is sent, behind a
// colon the condition. The first that fits holds; a state that is not named stays and sends nothing.
inline constexpr auto applicantMoves = R"(
    RJOIN_IN             VO>AO VP>AP:shared AA>QA:shared AO>QO AP>QP
    RIN                  AA>QA:pointToPoint
    RJOINMT,RMT          QA>AA QO>AO QP>AP LO>VO
    RLV,RLA,REDECLARE    VO>LO AO>LO QO>LO AN>VN AA>VP QA>VP AP>VP QP>VP
    BEGIN,FLUSH          *>VO
    NEW                  VN>VN AN>AN *>VN
    JOIN                 VO>VP LO>VP LA>AA AO>AP QO>QP
    LV                   VP>VO VN>LA AN>LA AA>LA QA>LA AP>AO QP>QO
    PERIODIC             QA>AA:periodic QP>AP:periodic
    TX                   VP>AA/JOIN VN>AN/NEW AN>QA/NEW:registered AN>AA/NEW AA>QA/JOIN AP>QA/JOIN LA>VO/LEAVE LO>VO/IN
    TX_LA                VO>LO LA>LO AO>LO QO>LO VP>AA/IN VN>AN/NEW AN>QA/NEW AA>QA/JOIN QA>QA/JOIN AP>QA/JOIN QP>QA/JOIN
    TX_LAF               VO>LO LA>LO AO>LO QO>LO VN>VN AN>VN AA>VP QA>VP AP>VP QP>VP
)";

// A participant written as one would tell it: lists, walks over all of them, every timer and every byte in plain
// sight. It writes down what the log shows at level 2 and what its application is told, and keeps the PDUs.
class ParticipantModel {
public:
    struct Attribute {
        uint8_t type;
        uint8_t port;
        Bytes value;
        std::optional<uint8_t> fourPacked;
        bool periodic;
        bool pointToPoint;
        std::string address;  // as the log shows it
        ApplicantState applicant = ApplicantState::VO;
        RegistrarState registrar = RegistrarState::MT;
        TxAction action = TxAction::NONE;
        Event indication = Event::UNDEFINED;
        int leaveTimer = -1;
    };
    using Attributes = std::list<Attribute>;

    ParticipantModel(const SteppedClock& clock, uint8_t portCount, std::vector<MessageForm> messages,
                     MessageLayout layout)
        : timers(clock, trace), clock(clock), messages(std::move(messages)), layout(layout), ports(portCount) {
        for (uint8_t port = 0; port < portCount; ++port) {
            const auto leaveAll = [this](uint32_t of) { Run(nullptr, of, Event::LEAVEALLTIMER); };
            const auto periodic = [this](uint32_t of) { ApplyToPort(of, Event::PERIODIC); };
            ports[port].leaveAllTimer = timers.Add(10'000, 10'000, 5'000, leaveAll, port);
            timers.Add(1'000, 1'000, 50, periodic, port);
        }
        const auto tick = [this](uint32_t) { LeaveTimerTick(); };
        timers.Add(200, 200, 0, tick, 0);
    }

    Attribute& Insert(Attribute attribute) {
        Attributes& attributes = ports[attribute.port].attributes;
        attributes.push_back(std::move(attribute));
        return attributes.back();
    }
    Attribute* Find(uint32_t port, uint8_t type, const Bytes& value) {
        for (Attribute& attribute : ports[port].attributes) {
            if (attribute.type == type && attribute.value == value) return &attribute;
        }
        return nullptr;
    }
    void Remove(Attribute& attribute) {
        onDelete(attribute);
        Attributes& attributes = ports[attribute.port].attributes;
        attributes.remove_if([&](const Attribute& other) { return &other == &attribute; });
    }

    void Run(Attribute* attribute, uint32_t port, Event event) {
        Note(std::string("[SW-MRP] RunAttributeStateMachines: Event ") + Name(event));
        StepLeaveAll(port, event);
        if (ports[port].leaveAll == LeaveAllState::ACTIVE) RequestTransmit(port);
        if (attribute != nullptr) RunMachines(*attribute, event);
    }
    void ApplyToPort(uint32_t port, Event event) {
        for (Attribute& attribute : ports[port].attributes) Run(&attribute, port, event);
    }
    void ApplyToType(uint32_t port, uint8_t type, Event event) {
        for (Attribute& attribute : ports[port].attributes) {
            if (attribute.type == type) Run(&attribute, port, event);
        }
    }
    void RequestTransmit(uint32_t port) {
        Port& its = ports[port];
        if (its.pending) return;
        its.requestsNs = {its.requestsNs[1], its.requestsNs[2], clock.Ns()};
        its.pending = true;
        const uint64_t elapsedMs = (clock.Ns() - its.requestsNs[0]) / 1'000'000;
        const auto expired = [this](uint32_t of) { TransmitTimerExpired(of); };
        timers.Add(elapsedMs >= 300 ? 1 : static_cast<uint32_t>(300 - elapsedMs), 0, 0, expired, port);
    }

    void Note(const std::string& line) { trace += line + "\n"; }

    std::string trace;
    TimerModel timers;
    std::vector<Bytes> pdus;
    std::function<void(Attribute&, Event)> onPropagate;
    std::function<void(Attribute&)> onDelete;

private:
    struct Move {
        ApplicantState to;
        TxAction action = TxAction::NONE;
        std::string condition;
    };
    using Moves = std::map<std::pair<Event, ApplicantState>, std::vector<Move>>;
    struct Port {
        Attributes attributes;
        LeaveAllState leaveAll = LeaveAllState::PASSIVE;
        size_t leaveAllTimer = 0;
        std::array<uint64_t, 3> requestsNs = {};  // oldest first
        bool pending = false;
        size_t firstAsked = 0;
    };

    // The machines

    template <typename Enum>
    static Enum Named(const std::string& name) {
        uint8_t value = 0;
        while (name != Name(static_cast<Enum>(value))) ++value;
        return static_cast<Enum>(value);
    }
    // The part of text behind the mark, up to the next one.
    static std::string Behind(char mark, const std::string& text) {
        const size_t at = text.find(mark);
        return at == std::string::npos ? "" : text.substr(at + 1, text.find_first_of(">/:", at + 1) - at - 1);
    }
    static void ReadMove(Moves& moves, Event event, const std::string& text) {
        const std::string from = text.substr(0, text.find('>'));
        const std::string action = Behind('/', text);
        const Move move = {Named<ApplicantState>(Behind('>', text)),
                           action.empty() ? TxAction::NONE : Named<TxAction>(action), Behind(':', text)};
        for (size_t n = 0; n < applicantStateCount; ++n) {
            const auto state = static_cast<ApplicantState>(n);
            if (from == "*" || from == Name(state)) moves[{event, state}].push_back(move);
        }
    }
    static Moves ReadMoves() {
        Moves moves;
        std::istringstream lines(applicantMoves);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string events;
            words >> events;
            for (std::string word; words >> word;) {
                std::istringstream names(events);
                for (std::string name; std::getline(names, name, ',');) ReadMove(moves, Named<Event>(name), word);
            }
        }
        return moves;
    }
    static bool Holds(const std::string& condition, const Attribute& attribute) {
        if (condition == "shared") return !attribute.pointToPoint;
        if (condition == "pointToPoint") return attribute.pointToPoint;
        if (condition == "periodic") return attribute.periodic;
        if (condition == "registered") return attribute.registrar == RegistrarState::IN;
        return true;
    }
    static Move MoveOf(const Attribute& attribute, Event event) {
        static const Moves moves = ReadMoves();
        const auto found = moves.find({event, attribute.applicant});
        if (found != moves.end()) {
            for (const Move& move : found->second) {
                if (Holds(move.condition, attribute)) return move;
            }
        }
        return {attribute.applicant, TxAction::NONE, ""};
    }

    ApplicantState StepApplicant(Attribute& attribute, Event event) {
        const Move move = MoveOf(attribute, event);
        attribute.action = move.action;
        Note("[SW-MRP] (" + attribute.address + ") Event " + Name(event) + ": Applicant state " +
             Name(attribute.applicant) + " -> " + Name(move.to));
        Note(std::string("[SW-MRP] action ") + Name(move.action) + " optional 0");
        return move.to;
    }

    // The state and the indication that an event leads to; the leave timer at once.
    std::pair<RegistrarState, Event> RegistrarMove(Attribute& attribute, Event event) {
        const RegistrarState state = attribute.registrar;
        switch (event) {
            case Event::RNEW:
                if (state == RegistrarState::LV) attribute.leaveTimer = -1;
                return {RegistrarState::IN, Event::NEW};
            case Event::RJOIN_IN:
            case Event::RJOINMT:
                if (state == RegistrarState::LV) attribute.leaveTimer = -1;
                return {RegistrarState::IN, Event::JOIN};
            case Event::RLV:
            case Event::RLA:
            case Event::REDECLARE:
            case Event::TX_LA:
                if (state != RegistrarState::IN) return {state, Event::UNDEFINED};
                attribute.leaveTimer = 5;
                return {RegistrarState::LV, Event::UNDEFINED};
            case Event::BEGIN:
                return {RegistrarState::MT, Event::UNDEFINED};
            case Event::FLUSH:
                return {RegistrarState::MT, Event::LV};
            case Event::LEAVETIMER:
                if (state != RegistrarState::LV) return {state, Event::UNDEFINED};
                return {RegistrarState::MT, Event::LV};
            case Event::REPROPAGATE:
                return {state, state == RegistrarState::MT ? Event::UNDEFINED : Event::NEW};
            default:
                return {state, Event::UNDEFINED};
        }
    }
    RegistrarState StepRegistrar(Attribute& attribute, Event event) {
        const auto [next, indication] = RegistrarMove(attribute, event);
        attribute.indication = indication;
        Note(std::string("[SW-MRP] Registrar state ") + Name(attribute.registrar) + " -> " + Name(next) + " event " +
             Name(indication));
        return next;
    }

    void RunMachines(Attribute& attribute, Event event) {
        const RegistrarState registrar = StepRegistrar(attribute, event);
        attribute.applicant = StepApplicant(attribute, event);  // sees the Registrar from before the event
        attribute.registrar = registrar;
        if (HasSomethingToSay(attribute)) RequestTransmit(attribute.port);
        if (attribute.indication != Event::UNDEFINED) onPropagate(attribute, attribute.indication);
    }

    // Returns whether a LeaveAll is to be sent.
    bool StepLeaveAll(uint32_t port, Event event) {
        const LeaveAllState state = ports[port].leaveAll;
        LeaveAllState next = state;
        if (event == Event::RLA || event == Event::BEGIN || event == Event::TX) next = LeaveAllState::PASSIVE;
        if (event == Event::LEAVEALLTIMER) next = LeaveAllState::ACTIVE;
        if (event == Event::RLA || event == Event::BEGIN || event == Event::LEAVEALLTIMER) {
            timers.Restart(ports[port].leaveAllTimer);
        }
        const bool send = event == Event::TX && state == LeaveAllState::ACTIVE;
        ports[port].leaveAll = next;
        Note(std::string("[SW-MRP] LeaveAll state ") + Name(state) + " -> " + Name(next) + " event " +
             (send ? "TX_LA" : "NONE"));
        return send;
    }

    // Timers

    void LeaveTimerTick() {
        for (Port& port : ports) {
            for (auto at = port.attributes.begin(); at != port.attributes.end();) {
                Attribute& attribute = *at++;
                if (attribute.leaveTimer > 0 && --attribute.leaveTimer == 0) {
                    Run(&attribute, attribute.port, Event::LEAVETIMER);
                }
                const ApplicantState state = attribute.applicant;
                const bool undeclared =
                    state == ApplicantState::VO || state == ApplicantState::AO || state == ApplicantState::QO;
                if (attribute.registrar == RegistrarState::MT && undeclared) Remove(attribute);
            }
        }
    }
    void TransmitTimerExpired(uint32_t port) {
        ports[port].pending = false;
        TransmitPdu(port);
        for (const Attribute& attribute : ports[port].attributes) {
            if (HasSomethingToSay(attribute)) RequestTransmit(port);
        }
    }

    // Transmission

    static bool HasSomethingToSay(const Attribute& attribute) {
        using enum ApplicantState;
        for (const ApplicantState state : {VP, VN, AN, AA, LA, AP, LO}) {
            if (attribute.applicant == state) return true;
        }
        return false;
    }
    static uint8_t EventToSend(const Attribute& attribute) {
        const bool in = attribute.registrar == RegistrarState::IN;
        switch (attribute.action) {
            case TxAction::NEW:
                return 0;
            case TxAction::JOIN:
                return in ? 1 : 3;
            case TxAction::IN:
                return in ? 2 : 4;
            case TxAction::LEAVE:
                return 5;
            default:
                return in ? 1 : 4;
        }
    }
    // With a LeaveAll whether TX_LA would send it, otherwise whether TX would.
    static bool IsToBeSent(const Attribute& attribute, bool leaveAll) {
        return MoveOf(attribute, leaveAll ? Event::TX_LA : Event::TX).action != TxAction::NONE;
    }
    bool AskAttribute(Attribute& attribute, bool leaveAll, bool full) {
        if (!leaveAll && (full || !HasSomethingToSay(attribute))) return false;
        RunMachines(attribute, !leaveAll ? Event::TX : full ? Event::TX_LAF : Event::TX_LA);
        return attribute.action != TxAction::NONE;
    }

    static Bytes Vector(bool leaveAll, uint8_t values, const Bytes& firstValue) {
        return Join({{static_cast<uint8_t>(leaveAll ? 0x20 : 0), values}, firstValue});
    }
    // The vectors of one type; bytesBefore are those of the messages that others have added.
    Bytes VectorsOf(uint32_t port, const MessageForm& form, bool leaveAll, size_t bytesBefore, size_t& values) {
        const size_t head = layout == MessageLayout::WithListLength ? 4 : 2;
        Bytes vectors;
        for (Attribute& attribute : ports[port].attributes) {
            if (attribute.type != form.type) continue;
            const size_t written = bytesBefore + (values == 0 ? 0 : head + vectors.size());
            if (!AskAttribute(attribute, leaveAll, written + 23 >= 1400)) continue;
            const uint8_t event = EventToSend(attribute);
            Note(std::string("sending attribute ") + Name(static_cast<AttributeEvent>(event)));
            vectors = Join({vectors, Vector(leaveAll && values == 0, 1, attribute.value)});
            vectors.push_back(static_cast<uint8_t>(event * 36));
            if (attribute.fourPacked) vectors.push_back(static_cast<uint8_t>(*attribute.fourPacked * 64));
            ++values;
        }
        if (values == 0 && leaveAll) vectors = Vector(true, 0, Bytes(form.firstValueLength));
        return vectors;
    }
    Bytes Message(const MessageForm& form, const Bytes& vectors) const {
        const Bytes endMark(2);
        const Bytes head = {form.type, form.firstValueLength};
        if (layout == MessageLayout::WithoutListLength) return Join({head, vectors, endMark});
        return Join({head, BigEndian(vectors.size() + 2, 2), vectors, endMark});
    }

    // The types take turns: the next PDU begins with the one that has waited longest.
    void TransmitPdu(uint32_t port) {
        Note("transmit " + std::to_string(port));
        const bool leaveAll = StepLeaveAll(port, Event::TX);
        std::vector<Bytes> parts(messages.size());
        std::vector<size_t> waiting;
        size_t bytes = 0;
        for (size_t n = 0; n < messages.size(); ++n) {
            const size_t place = (ports[port].firstAsked + n) % messages.size();
            const MessageForm& form = messages[place];
            bool hadSomething = false;
            for (const Attribute& attribute : ports[port].attributes) {
                if (attribute.type == form.type && IsToBeSent(attribute, leaveAll)) hadSomething = true;
            }
            size_t values = 0;
            const Bytes vectors = VectorsOf(port, form, leaveAll, bytes, values);
            if (values > 0) Note("added " + std::to_string(values) + " of type " + std::to_string(form.type));
            if (hadSomething && values == 0) waiting.push_back(place);
            if (!vectors.empty()) parts[place] = Message(form, vectors);
            bytes += parts[place].size();
        }
        ports[port].firstAsked = waiting.empty() ? 0 : waiting.front();
        if (bytes == 0) return;
        Bytes pdu(1);  // protocol version
        for (const Bytes& part : parts) pdu = Join({pdu, part});
        pdus.push_back(Join({pdu, Bytes(2)}));
    }

    const SteppedClock& clock;
    const std::vector<MessageForm> messages;
    const MessageLayout layout;
    std::vector<Port> ports;
};

}  // namespace norvad::test
