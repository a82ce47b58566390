#include "lab/network/program/units.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <limits>
#include <span>

namespace norvad::network {

namespace {

struct Unit {
    std::string_view name;
    int64_t factor;
};

constexpr std::array<Unit, 6> durations{{{"ns", 1},
                                         {"us", 1'000},
                                         {"ms", 1'000'000},
                                         {"s", 1'000'000'000},
                                         {"min", 60'000'000'000},
                                         {"h", 3'600'000'000'000}}};
constexpr std::array<Unit, 3> rates{{{"k", 1'000}, {"M", 1'000'000}, {"G", 1'000'000'000}}};
constexpr std::array<Unit, 2> frequencies{{{"ppb", 1}, {"ppm", 1'000}}};
constexpr std::array<Unit, 2> ramps{{{"ppb/s", 1}, {"ppm/s", 1'000}}};
constexpr std::array<Unit, 1> shares{{{"%", 10'000}}};

bool IsDigit(char letter) {
    return std::isdigit(static_cast<unsigned char>(letter)) != 0;
}

std::string_view TakeDigits(std::string_view& text) {
    const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
    const auto digits = text.substr(0, static_cast<size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    return digits;
}

// Whole digits count factor each; every decimal a tenth of the one before.
std::optional<int64_t> Sum(std::string_view whole, std::string_view decimals, int64_t factor) {
    constexpr int64_t most = std::numeric_limits<int64_t>::max();
    int64_t sum = 0;
    for (const char digit : whole) {
        if (sum > (most - 9) / 10) return {};
        sum = sum * 10 + (digit - '0');
    }
    if (sum > most / factor - 1) return {};
    sum *= factor;
    for (const char digit : decimals) {
        const int64_t share = factor / 10;
        sum += (digit - '0') * share;
        factor = share;
    }
    return sum;
}

std::optional<int64_t> Parse(std::string_view text, std::span<const Unit> units) {
    const bool isNegative = text.starts_with('-');
    if (isNegative) text.remove_prefix(1);
    const auto whole = TakeDigits(text);
    std::string_view decimals;
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        decimals = TakeDigits(text);
        if (decimals.empty()) return {};
    }
    const auto unit = std::find_if(units.begin(), units.end(), [&](const Unit& each) { return each.name == text; });
    if (whole.empty() || unit == units.end()) return {};
    const auto sum = Sum(whole, decimals, unit->factor);
    if (sum && isNegative) return -*sum;
    return sum;
}

}  // namespace

std::optional<int64_t> ParseDurationNs(std::string_view text) {
    return Parse(text, durations);
}

std::optional<int64_t> ParseBitsPerSecond(std::string_view text) {
    return Parse(text, rates);
}

std::optional<int64_t> ParseFrequencyPpb(std::string_view text) {
    return Parse(text, frequencies);
}

std::optional<int64_t> ParseRampPpb(std::string_view text) {
    return Parse(text, ramps);
}

std::optional<int64_t> ParseSharePerMillion(std::string_view text) {
    return Parse(text, shares);
}

std::string TimeText(int64_t ns) {
    for (const auto& [name, size] : {durations[3], durations[2], durations[1]}) {
        if (std::llabs(ns) < size) continue;
        return fmt::format("{:.4g} {}", static_cast<double>(ns) / static_cast<double>(size), name);
    }
    return fmt::format("{} ns", ns);
}

}  // namespace norvad::network
