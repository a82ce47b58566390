#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <thread>

#include "base/clock.h"
#include "ctl/serve/hub.h"

namespace norvad::ctl {

// Serves the page and what it shows, in a thread of its own, from its making to its end.
class HttpServer {
public:
    // drawAttention is called in the server's thread. Throws boost::system::system_error when the address is not to be
    // had.
    HttpServer(const boost::asio::ip::tcp::endpoint& endpoint, const Limits& limits, const norvad::Clock& clock,
               std::function<void()> drawAttention);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    ~HttpServer();

    boost::asio::ip::tcp::endpoint Endpoint() const { return acceptor.local_endpoint(); }

    // From any thread: all answers are made from this state from now on.
    void Publish(SharedState state);

private:
    void Accept();
    void Admit(boost::asio::ip::tcp::socket socket);

    boost::asio::io_context context{1};
    boost::asio::ip::tcp::acceptor acceptor;
    boost::asio::steady_timer pause;
    std::shared_ptr<Hub> hub;
    std::thread thread;
};

}  // namespace norvad::ctl
