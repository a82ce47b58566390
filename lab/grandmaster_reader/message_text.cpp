#include "lab/grandmaster_reader/message_text.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace norvad::reader {

namespace {

std::string ClockText(uint64_t number) {
    char text[sizeof("0x0011223344556677")];
    (void)snprintf(text, sizeof(text), "0x%016" PRIx64, number);
    return text;
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
    std::string text = "grandmaster " + ClockText(message.clockNumber) + " domain " +
                       std::to_string(message.domainNumber) + " fixed " + std::to_string(message.fixed) + " path";
    for (size_t entry = 0; entry < message.pathCount; ++entry) text += ' ' + ClockText(message.path[entry]);
    return text;
}

}  // namespace norvad::reader
