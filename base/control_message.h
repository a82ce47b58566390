#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace norvad {

inline constexpr const char* requestQueueName = "/norvad.mq";
inline constexpr const char* replyQueueName = "/norvad.mqu";
inline constexpr unsigned controlMessagePriority = 256;
inline constexpr long controlQueueDepth = 10;       // messages
inline constexpr unsigned controlQueueMode = 0666;  // anybody may ask; the process's mask applies

inline constexpr uint32_t controlCommand = 0;       // types of a control message
inline constexpr uint32_t controlNotification = 1;  // for the protocol handlers

// One message of the control channel, in either direction; numbers in the byte order of the machine.
struct ControlMessage {
    char replyQueue[64];  // name of the queue for the answer, NUL-terminated
    uint32_t type;
    uint32_t length;  // of a command's text
    uint8_t last;     // in answers: 0 while more pieces follow, 1 in the last
    char text[2051];  // a command line or a piece of an answer, NUL-terminated
};
static_assert(sizeof(ControlMessage) == 2124);
static_assert(offsetof(ControlMessage, type) == 64 && offsetof(ControlMessage, length) == 68 &&
              offsetof(ControlMessage, last) == 72 && offsetof(ControlMessage, text) == 73);

// The message as a buffer to receive into.
inline std::span<uint8_t> BufferOf(ControlMessage& message) {
    return {reinterpret_cast<uint8_t*>(&message), sizeof message};
}

inline std::span<const uint8_t> BytesOf(const ControlMessage& message) {
    return {reinterpret_cast<const uint8_t*>(&message), sizeof message};
}

// The text in a field, which a stranger may have left without its terminator.
template <size_t size>
std::string_view TextOf(const char (&field)[size]) {
    return {field, strnlen(field, size)};
}

// Fills a field with text, cut where it does not fit with its terminator; the rest of the field becomes NUL.
template <size_t size>
void PutText(char (&field)[size], std::string_view text) {
    std::memset(field, 0, size);
    text.copy(field, size - 1);
}

}  // namespace norvad
