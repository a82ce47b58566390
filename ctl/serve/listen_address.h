#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace norvad::ctl {

// "127.0.0.1:8021" or "[::1]:8021": an address, which is never looked up, and a port; 0 is any that is free.
std::optional<boost::asio::ip::tcp::endpoint> ReadListenAddress(std::string_view text);

// The same as a text, which ReadListenAddress reads back.
std::string ListenAddressText(const boost::asio::ip::tcp::endpoint& endpoint);

}  // namespace norvad::ctl
