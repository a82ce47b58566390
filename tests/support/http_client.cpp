#include "tests/support/http_client.h"

#include <array>
#include <boost/asio/write.hpp>
#include <cctype>

namespace norvad::test {

namespace {

// Of an answer that has one.
size_t ContentLength(std::string header) {
    constexpr std::string_view name = "content-length:";
    for (char& c : header) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return std::stoul(header.substr(header.find(name) + name.size()));
}

}  // namespace

HttpClient::HttpClient(const boost::asio::ip::tcp::endpoint& server) {
    socket.connect(server);
}

bool HttpClient::Send(std::string_view bytes) {
    boost::system::error_code error;
    boost::asio::write(socket, boost::asio::buffer(bytes.data(), bytes.size()), error);
    return !error;
}

bool HttpClient::ReadSome() {
    std::array<char, 65536> piece{};
    boost::system::error_code error;
    const size_t size = socket.read_some(boost::asio::buffer(piece), error);
    received.append(piece.data(), size);
    return !error;
}

bool HttpClient::ReadUntil(std::string_view text) {
    while (received.find(text) == std::string::npos) {
        if (!ReadSome()) return false;
    }
    return true;
}

const std::string& HttpClient::ReadToEnd() {
    while (ReadSome()) {
    }
    return received;
}

std::string HttpClient::Exchange(std::string_view request) {
    received.clear();
    if (!Send(request) || !ReadUntil("\r\n\r\n")) return received;
    const size_t length = ContentLength(received);
    while (ContentOf(received).size() < length && ReadSome()) {
    }
    return received;
}

std::string HttpClient::Get(std::string_view target) {
    return Exchange(Request("GET", target));
}

std::string Request(std::string_view method, std::string_view target, std::string_view fields) {
    std::string request(method);
    request.append(" ").append(target).append(" HTTP/1.1\r\nHost: localhost:8021\r\n").append(fields).append("\r\n");
    return request;
}

std::string ContentOf(std::string_view answer) {
    const size_t end = answer.find("\r\n\r\n");
    return end == std::string_view::npos ? "" : std::string(answer.substr(end + 4));
}

}  // namespace norvad::test
