#include "tests/msrp/msrp_bridge.h"

#include <stdexcept>

#include "base/ethertypes.h"

namespace norvad::test {
namespace {

constexpr const char* typeNames[] = {"", "talker", "failed", "listener", "domain"};
constexpr const char* eventNames[] = {"New", "JoinIn", "In", "JoinMt", "Mt", "Lv"};
constexpr const char* declarationNames[] = {"IGNORE", "ASKING_FAILED", "READY", "READY_FAILED"};

// Reads the messages of a frame that the bridge sent, in which every vector has at most one value.
void DecodeValues(const Bytes& frame, std::vector<std::string>& values) {
    size_t at = 23;
    while (frame.at(at) != 0) {
        const uint8_t type = frame[at];
        const uint8_t length = frame.at(at + 1);
        const size_t end = at + 4 + static_cast<size_t>(BigEndianAt(frame, at + 2, 2)) - 2;
        at += 4;
        while (at < end) {
            const bool leaveAll = (frame.at(at) & 0x20) != 0;
            const size_t count = BigEndianAt(frame, at, 2) & 0x1FFF;
            if (count > 1) throw std::logic_error("more than one value in a vector");
            const uint8_t* first = &frame.at(at + 2);
            at += 2 + length;
            std::string text = typeNames[type];
            if (count == 1) {
                text.append(" ").append(type == 4 ? std::to_string(first[0]) : ToHex({first + 6, 2}, ""));
                text.append(" ").append(eventNames[frame.at(at++) / 36]);
                if (type == 3) text.append(" ").append(declarationNames[frame.at(at++) / 64]);
            }
            values.push_back(leaveAll ? text + " LeaveAll" : text);
        }
        at = end + 2;
    }
}

}  // namespace

Bytes Vector(const Bytes& firstValue, const Bytes& events, const Bytes& declarations, bool leaveAll) {
    Bytes bytes = Join({BigEndian((leaveAll ? 0x2000u : 0u) | events.size(), 2), firstValue});
    for (size_t i = 0; i < events.size(); i += 3) {
        const auto event = [&](size_t k) { return k < events.size() ? events[k] : uint8_t{0}; };
        bytes.push_back(static_cast<uint8_t>((event(i) * 6 + event(i + 1)) * 6 + event(i + 2)));
    }
    for (size_t i = 0; i < declarations.size(); i += 4) {
        const auto four = [&](size_t k) { return k < declarations.size() ? declarations[k] : uint8_t{0}; };
        bytes.push_back(static_cast<uint8_t>(four(i) * 64 + four(i + 1) * 16 + four(i + 2) * 4 + four(i + 3)));
    }
    return bytes;
}

Bytes Message(uint8_t type, uint8_t attributeLength, const std::vector<Bytes>& vectors) {
    Bytes list;
    for (const Bytes& vector : vectors) list = Join({list, vector});
    const size_t listLength = list.size() + 2;
    return Join({{type, attributeLength}, BigEndian(listLength, 2), list, FromHex("00 00")});
}

Bytes Frame(uint8_t port, const std::vector<Bytes>& messages) {
    Bytes pdu = FromHex("00");
    for (const Bytes& message : messages) pdu = Join({pdu, message});
    return Join({FromHex("01 80 c2 00 00 0e  02 aa bb cc dd ee"), FromHex("da da 00 00 00"), BigEndian(port << 3, 1),
                 FromHex("00 00  22 ea"), pdu, FromHex("00 00")});
}

StreamID Stream(uint8_t n, uint8_t selector) {
    return {0x00, 0x1B, 0x21, 0x01, 0x02, 0x03, selector, n};
}

TalkerFirstValue TalkerOf(const StreamID& id) {
    return {id, {0x91, 0xE0, 0xF0, 0x00, 0x00, id[7]}, 2, 100, 1, 3 << 5 | 1 << 4, 1000};
}

void MsrpBridge::Receive(uint8_t port, const std::vector<Bytes>& messages) {
    Bytes frame = Frame(port, messages);
    msrp.HandleFrame(frame, ETHERTYPE_MSRP);
}

void MsrpBridge::ReceiveTalker(uint8_t port, const StreamID& id, AttributeEvent event) {
    Receive(port, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(id))), {static_cast<uint8_t>(event)})})});
}

void MsrpBridge::ReceiveTalkerFailed(uint8_t port, const StreamID& id, AttributeEvent event) {
    const TalkerFailedFirstValue value = {TalkerOf(id), {0x80, 0, 2, 9, 9, 9, 9, 9}, 1};
    Receive(port, {Message(2, 34, {Vector(Copy(BytesOf(value)), {static_cast<uint8_t>(event)})})});
}

void MsrpBridge::ReceiveListener(uint8_t port, const StreamID& id, ListenerDeclaration declaration,
                                 AttributeEvent event) {
    Receive(port, {Message(3, 8,
                           {Vector({id.begin(), id.end()}, {static_cast<uint8_t>(event)},
                                   {static_cast<uint8_t>(declaration)})})});
}

std::vector<std::string> MsrpBridge::SentValues(uint8_t port) {
    std::vector<std::string> values;
    for (const Bytes& frame : board.SentOn(port)) DecodeValues(frame, values);
    std::erase_if(board.sent, [port](const FakeSwitch::SentFrame& frame) { return frame.port == port; });
    return values;
}

bool MsrpBridge::IsTalkerDeclared(uint8_t port, const StreamID& id) {
    const Talker* talker = msrp.FindTalker(id, port);
    return talker && talker->IsPropagated();
}

bool MsrpBridge::IsTalkerFailedDeclared(uint8_t port, const StreamID& id) {
    const TalkerFailed* talkerFailed = msrp.FindTalkerFailed(id, port);
    return talkerFailed && talkerFailed->IsPropagated();
}

bool MsrpBridge::IsListenerDeclared(uint8_t port, const StreamID& id) {
    const Listener* listener = msrp.FindListener(id, port);
    return listener && listener->IsPropagated();
}

}  // namespace norvad::test
