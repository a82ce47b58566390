#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <functional>
#include <string>

namespace norvad::board {

// Serves a text to whoever connects to a local socket, and closes. Throws StartError where the socket cannot be
// made; the remains of a dead process's socket are replaced.
class StatusServer {
public:
    using Report = std::function<std::string()>;

    StatusServer(boost::asio::io_context& context, const std::string& path, Report report);
    StatusServer(const StatusServer&) = delete;
    StatusServer& operator=(const StatusServer&) = delete;
    ~StatusServer();

private:
    using Protocol = boost::asio::local::stream_protocol;

    void Accept();
    void Send(Protocol::socket client);

    std::string path;
    Report report;
    Protocol::acceptor acceptor;
    size_t clients = 0;  // that have not read all yet
};

// Prints what the server at path has to say to standard output; throws StartError when nobody serves there.
void PrintStatus(const std::string& path);

}  // namespace norvad::board
