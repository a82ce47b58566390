#include "tests/msrp/msrp_bridge.h"

#include <boost/program_options.hpp>
#include <sstream>
#include <stdexcept>

#include "base/ethertypes.h"

namespace norvad::test {
namespace {

constexpr const char* typeNames[] = {"", "talker", "failed", "listener", "domain"};
constexpr const char* eventNames[] = {"New", "JoinIn", "In", "JoinMt", "Mt", "Lv"};
constexpr const char* declarationNames[] = {"IGNORE", "ASKING_FAILED", "READY", "READY_FAILED"};

void Append(ByteString& bytes, const ByteString& more) {
    for (const uint8_t byte : more) bytes.push_back(byte);
}

void AppendWord(ByteString& bytes, size_t value) {
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

std::string Hex(const uint8_t* bytes, size_t length) {
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        text += digits;
    }
    return text;
}

// Reads the messages of a frame that the bridge sent, in which every vector has at most one value.
void DecodeValues(const ByteString& frame, std::vector<std::string>& values) {
    size_t at = 23;
    while (frame.at(at) != 0) {
        const uint8_t type = frame[at];
        const uint8_t length = frame.at(at + 1);
        const size_t end = at + 4 + (frame.at(at + 2) << 8 | frame.at(at + 3)) - 2;
        at += 4;
        while (at < end) {
            const bool leaveAll = (frame.at(at) & 0x20) != 0;
            const size_t count = (frame[at] & 0x1F) << 8 | frame.at(at + 1);
            if (count > 1) throw std::logic_error("more than one value in a vector");
            const uint8_t* first = &frame.at(at + 2);
            at += 2 + length;
            std::string text = typeNames[type];
            if (count == 1) {
                text.append(" ").append(type == 4 ? std::to_string(first[0]) : Hex(first + 6, 2));
                text.append(" ").append(eventNames[frame.at(at++) / 36]);
                if (type == 3) text.append(" ").append(declarationNames[frame.at(at++) / 64]);
            }
            values.push_back(leaveAll ? text + " LeaveAll" : text);
        }
        at = end + 2;
    }
}

}  // namespace

ByteString Bytes(std::string_view hex) {
    ByteString bytes;
    std::istringstream stream{std::string(hex)};
    for (std::string digits; stream >> digits;) bytes.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
    return bytes;
}

ByteString Vector(const ByteString& firstValue, const std::vector<uint8_t>& events,
                  const std::vector<uint8_t>& declarations, bool leaveAll) {
    ByteString bytes;
    AppendWord(bytes, (leaveAll ? 0x2000u : 0u) | events.size());
    Append(bytes, firstValue);
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

ByteString Message(uint8_t type, uint8_t attributeLength, const std::vector<ByteString>& vectors) {
    ByteString list;
    for (const ByteString& vector : vectors) Append(list, vector);
    AppendWord(list, 0);
    ByteString bytes = {type, attributeLength};
    AppendWord(bytes, list.size());
    Append(bytes, list);
    return bytes;
}

ByteString Frame(uint8_t port, const std::vector<ByteString>& messages) {
    ByteString bytes = Bytes("01 80 c2 00 00 0e  02 aa bb cc dd ee  da da 00 00 00");
    bytes.push_back(static_cast<uint8_t>(port << 3));
    Append(bytes, Bytes("00 00  22 ea  00"));
    for (const ByteString& message : messages) Append(bytes, message);
    AppendWord(bytes, 0);
    return bytes;
}

StreamID Stream(uint8_t n, uint8_t selector) {
    return {0x00, 0x1B, 0x21, 0x01, 0x02, 0x03, selector, n};
}

TalkerFirstValue TalkerOf(const StreamID& id) {
    return {id, {0x91, 0xE0, 0xF0, 0x00, 0x00, id[7]}, 2, 100, 1, 3 << 5 | 1 << 4, 1000};
}

void MsrpBridge::Receive(uint8_t port, const std::vector<ByteString>& messages) {
    ByteString frame = Frame(port, messages);
    msrp.HandleFrame(frame, ETHERTYPE_MSRP);
}

void MsrpBridge::ReceiveTalker(uint8_t port, const StreamID& id, AttributeEvent event) {
    Receive(port, {Message(1, 25, {Vector(ToBytes(TalkerOf(id)), {static_cast<uint8_t>(event)})})});
}

void MsrpBridge::ReceiveTalkerFailed(uint8_t port, const StreamID& id, AttributeEvent event) {
    const TalkerFailedFirstValue value = {TalkerOf(id), {0x80, 0, 2, 9, 9, 9, 9, 9}, 1};
    Receive(port, {Message(2, 34, {Vector(ToBytes(value), {static_cast<uint8_t>(event)})})});
}

void MsrpBridge::ReceiveListener(uint8_t port, const StreamID& id, ListenerDeclaration declaration,
                                 AttributeEvent event) {
    Receive(port, {Message(3, 8,
                           {Vector({id.begin(), id.end()}, {static_cast<uint8_t>(event)},
                                   {static_cast<uint8_t>(declaration)})})});
}

void MsrpBridge::Run(uint32_t ms) {
    for (uint32_t i = 0; i < ms; ++i) {
        clock.AdvanceMs(1);
        (void)timers.runDue();
    }
}

std::vector<std::string> MsrpBridge::SentValues(uint8_t port) {
    std::vector<std::string> values;
    for (const ByteString& frame : board.SentOn(port)) DecodeValues(frame, values);
    std::erase_if(board.sent, [port](const FakeSwitch::SentFrame& frame) { return frame.port == port; });
    return values;
}

std::string MsrpBridge::Control(const std::vector<std::string>& arguments) {
    namespace po = boost::program_options;
    po::options_description options;
    msrp.AddControlOptions(options);
    po::variables_map values;
    po::store(po::command_line_parser(arguments).options(options).run(), values);
    po::notify(values);
    std::ostringstream answer;
    msrp.HandleControlOptions(values, answer);
    return answer.str();
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
