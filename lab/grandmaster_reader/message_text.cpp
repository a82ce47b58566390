#include "lab/grandmaster_reader/message_text.h"

#include <fmt/format.h>

#include <cstring>

namespace norvad::reader {

namespace {

std::string ClockText(uint64_t number) {
    return fmt::format("0x{:016x}", number);
}

}  // namespace

std::optional<GrandmasterMessage> ReadMessage(std::span<const uint8_t> bytes) {
    GrandmasterMessage message;
    if (bytes.size() != sizeof(message)) return {};
    std::memcpy(&message, bytes.data(), sizeof(message));
    if (message.pathCount > grandmasterPathCapacity) return {};
    return message;
}

std::string MessageText(const GrandmasterMessage& message) {
    std::string text = fmt::format("grandmaster {} domain {} fixed {} path", ClockText(message.clockNumber),
                                   message.domainNumber, message.fixed);
    for (size_t entry = 0; entry < message.pathCount; ++entry) text += ' ' + ClockText(message.path[entry]);
    return text;
}

}  // namespace norvad::reader
