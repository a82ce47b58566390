#include "ctl/serve/listen_address.h"

#include <fmt/format.h>

#include <charconv>

namespace norvad::ctl {

namespace {

namespace ip = boost::asio::ip;

// Digits, letters of hexadecimal ones, dots and colons: no zone of a link, no name.
bool IsPlain(std::string_view address) {
    return address.find_first_not_of("0123456789abcdefABCDEF.:") == std::string_view::npos;
}

std::optional<uint16_t> ReadPort(std::string_view text) {
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc{} || end != text.data() + text.size()) return {};
    return port;
}

}  // namespace

std::optional<ip::tcp::endpoint> ReadListenAddress(std::string_view text) {
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) return {};
    std::string_view host = text.substr(0, colon);
    const auto port = ReadPort(text.substr(colon + 1));
    const bool bracketed = host.starts_with('[') && host.ends_with(']');
    if (bracketed) host = host.substr(1, host.size() - 2);
    if (!port || !IsPlain(host)) return {};

    boost::system::error_code error;
    const auto address = ip::make_address(std::string(host), error);
    if (error || address.is_v6() != bracketed) return {};
    return ip::tcp::endpoint(address, *port);
}

std::string ListenAddressText(const ip::tcp::endpoint& endpoint) {
    const std::string address = endpoint.address().to_string();
    if (endpoint.address().is_v6()) return fmt::format("[{}]:{}", address, endpoint.port());
    return fmt::format("{}:{}", address, endpoint.port());
}

}  // namespace norvad::ctl
