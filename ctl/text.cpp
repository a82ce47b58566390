#include "ctl/text.h"

#include <fmt/format.h>

#include <charconv>

namespace norvad::ctl {

namespace {

std::string ColonText(uint64_t number, unsigned bytes) {
    std::string text;
    for (unsigned byte = bytes; byte-- > 0;) {
        text += fmt::format("{:02x}{}", number >> (8 * byte) & 0xFF, byte > 0 ? ":" : "");
    }
    return text;
}

}  // namespace

std::string IdText(Id id) {
    return ColonText(id, 8);
}

std::string AddressText(uint64_t address) {
    return ColonText(address, 6);
}

std::string ClockIdText(Id id) {
    return fmt::format("0x{:016x}", id);
}

std::string Name(Declaration declaration) {
    switch (declaration) {
        case Declaration::IGNORE:
            return "ignore";
        case Declaration::ASKING_FAILED:
            return "asking failed";
        case Declaration::READY:
            return "ready";
        case Declaration::READY_FAILED:
            return "ready failed";
        case Declaration::UNKNOWN:
            break;
    }
    return "unknown";
}

std::string Name(Registrar registrar) {
    switch (registrar) {
        case Registrar::IN:
            return "IN";
        case Registrar::LV:
            return "LV";
        case Registrar::MT:
            break;
    }
    return "MT";
}

std::string MachinesText(const Machines& machines) {
    return machines.applicant + "/" + Name(machines.registrar);
}

std::string ClassText(unsigned srClass) {
    if (srClass == 6) return "A";
    if (srClass == 5) return "B";
    return std::to_string(srClass);
}

std::string StreamCountText(size_t count) {
    return fmt::format("{} stream{}", count, count == 1 ? "" : "s");
}

std::string PpmText(double ratio) {
    return fmt::format("{:+.3f} ppm", ratio * 1e6);
}

std::optional<Id> ReadId(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (c != ':' && c != '-') digits += c;
    }
    Id id = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), id, 16);
    if (digits.size() != 16 || error != std::errc{} || end != digits.data() + digits.size()) return {};
    return id;
}

std::optional<uint64_t> ReadNumber(std::string_view text, uint64_t smallest, uint64_t largest) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number < smallest || number > largest) return {};
    return number;
}

std::string Printable(std::string_view text) {
    std::string printable(text);
    for (char& c : printable) {
        if (c < ' ' || c > '~') c = '?';
    }
    return printable;
}

}  // namespace norvad::ctl
