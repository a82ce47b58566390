#include "ctl/serve/query.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string>

#include "ctl/text.h"

namespace norvad::ctl {

namespace {

constexpr size_t mostRows = 1'000'000'000;

template <typename Value>
bool ReadNumber(std::string_view text, Value largest, Value& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() && number <= largest;
}

// The text with "%3A" read as ':'.
std::optional<std::string> Decoded(std::string_view text) {
    std::string decoded;
    for (; !text.empty(); text.remove_prefix(1)) {
        if (text.front() != '%') {
            decoded += text.front();
            continue;
        }
        uint8_t byte = 0;
        const auto [end, error] =
            std::from_chars(text.data() + 1, text.data() + std::min<size_t>(3, text.size()), byte, 16);
        if (error != std::errc{} || end != text.data() + 3) return {};
        decoded += static_cast<char>(byte);
        text.remove_prefix(2);
    }
    return decoded;
}

bool ReadItem(std::string_view name, std::string_view value, Selection& selection) {
    if (name == "port") return ReadNumber(value, portNumbers - 1, selection.port.emplace());
    if (name == "limit") return ReadNumber(value, mostRows, selection.limit);
    if (name == "offset") return ReadNumber(value, mostRows, selection.offset);
    if (name != "stream") return false;
    selection.stream = ReadId(value);
    return selection.stream.has_value();
}

}  // namespace

std::optional<Selection> ReadQuery(std::string_view query) {
    Selection selection;
    std::set<std::string_view> names;
    while (!query.empty()) {
        const std::string_view item = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(query.size(), item.size() + 1));
        const size_t equals = item.find('=');
        if (equals == std::string_view::npos) return {};
        const std::string_view name = item.substr(0, equals);
        const auto value = Decoded(item.substr(equals + 1));
        if (!value || !names.insert(name).second || !ReadItem(name, *value, selection)) return {};
    }
    return selection;
}

}  // namespace norvad::ctl
