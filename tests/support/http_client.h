#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <string>
#include <string_view>

namespace norvad::test {

// One connection to an HTTP server on this machine, which says what it is told to and keeps what comes.
class HttpClient {
public:
    explicit HttpClient(const boost::asio::ip::tcp::endpoint& server);

    // False when the server has closed the connection.
    bool Send(std::string_view bytes);

    // Reads on until text was received; false when the connection ends before.
    bool ReadUntil(std::string_view text);

    // All that comes until the server ends the connection.
    const std::string& ReadToEnd();

    // The whole answer to one request, on a connection that stays; its content by Content-Length.
    std::string Exchange(std::string_view request);
    std::string Get(std::string_view target);

    const std::string& Received() const { return received; }

private:
    bool ReadSome();

    boost::asio::io_context context;
    boost::asio::ip::tcp::socket socket{context};
    std::string received;
};

// A request with the Host that a browser on this machine would name.
std::string Request(std::string_view method, std::string_view target, std::string_view fields = "");

// What follows the header of an answer.
std::string ContentOf(std::string_view answer);

}  // namespace norvad::test
