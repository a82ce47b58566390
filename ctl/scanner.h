#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace norvad::ctl {

// Reads a line from the left. What does not fit makes it fail for good, and every later step does nothing: the whole is
// asked once, at the end.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest(text) {}

    bool IsDone() const { return holds && rest.empty(); }  // everything fitted and nothing is left
    bool Holds() const { return holds; }
    void Fail() { holds = false; }

    // Takes literal when the rest begins with it.
    bool Try(std::string_view literal) {
        if (!holds || !rest.starts_with(literal)) return false;
        rest.remove_prefix(literal.size());
        return true;
    }
    Scanner& Literal(std::string_view literal) {
        if (!Try(literal)) holds = false;
        return *this;
    }

    // A number in the whole range of its type, as the daemon prints it: no blanks and no plus sign before it.
    template <typename Value>
    Scanner& Number(Value& value) {
        return Take(value, [](const char* begin, const char* end, Value& result) {
            return std::from_chars(begin, end, result);
        });
    }
    Scanner& Hexadecimal(uint32_t& value) {
        return Take(value, [](const char* begin, const char* end, uint32_t& result) {
            return std::from_chars(begin, end, result, 16);
        });
    }

    // So many bytes of two digits each, with a separator behind each of them.
    Scanner& Bytes(unsigned count, std::string_view separator, uint64_t& value) {
        uint64_t read = 0;
        for (unsigned byte = 0; byte < count && holds; ++byte) {
            const auto high = Digit(0), low = Digit(1);
            if (!high || !low) {
                holds = false;
                break;
            }
            read = read << 8 | *high << 4 | *low;
            rest.remove_prefix(2);
            Literal(separator);
        }
        if (holds) value = read;
        return *this;
    }

    // What stands before the next end, which is taken as well.
    std::string_view Until(std::string_view end) {
        const size_t at = holds ? rest.find(end) : std::string_view::npos;
        if (at == std::string_view::npos) {
            holds = false;
            return {};
        }
        const std::string_view found = rest.substr(0, at);
        rest.remove_prefix(at + end.size());
        return found;
    }

    // All that is left.
    std::string_view Rest() {
        const std::string_view all = holds ? rest : std::string_view();
        rest = {};
        return all;
    }

private:
    std::optional<uint64_t> Digit(size_t at) const {
        if (at >= rest.size()) return {};
        const char c = rest[at];
        if (c >= '0' && c <= '9') return static_cast<uint64_t>(c - '0');
        if (c >= 'a' && c <= 'f') return static_cast<uint64_t>(c - 'a' + 10);
        return {};
    }

    template <typename Value, typename Reading>
    Scanner& Take(Value& value, Reading read) {
        Value taken{};
        const auto [end, error] = read(rest.data(), rest.data() + rest.size(), taken);
        if (!holds || error != std::errc{}) {
            holds = false;
            return *this;
        }
        rest.remove_prefix(static_cast<size_t>(end - rest.data()));
        value = taken;
        return *this;
    }

    std::string_view rest;
    bool holds = true;
};

}  // namespace norvad::ctl
