#include "ctl/serve/http_server.h"

#include <boost/asio/post.hpp>
#include <boost/asio/socket_base.hpp>
#include <utility>

#include "ctl/serve/session.h"

namespace norvad::ctl {

HttpServer::HttpServer(const boost::asio::ip::tcp::endpoint& endpoint, const Limits& limits, const norvad::Clock& clock,
                       std::function<void()> drawAttention)
    : acceptor(context, endpoint),
      pause(context),
      hub(std::make_shared<Hub>(limits, endpoint.address().is_loopback(), clock, std::move(drawAttention))) {
    Accept();
    thread = std::thread([this] { context.run(); });
}

HttpServer::~HttpServer() {
    context.stop();
    thread.join();
}

void HttpServer::Publish(SharedState state) {
    boost::asio::post(context, [this, state = std::move(state)] { hub->Publish(state); });
}

// Without descriptors for another connection it waits until there may be some.
void HttpServer::Accept() {
    acceptor.async_accept([this](boost::system::error_code error, boost::asio::ip::tcp::socket socket) {
        if (!error) {
            Admit(std::move(socket));
            return Accept();
        }
        pause.expires_after(std::chrono::milliseconds(100));
        pause.async_wait([this](boost::system::error_code) { Accept(); });
    });
}

void HttpServer::Admit(boost::asio::ip::tcp::socket socket) {
    auto place = hub->connections.Take();
    if (!place) return;
    boost::system::error_code ignored;
    socket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    std::make_shared<Session>(std::move(socket), hub, std::move(place))->Start();
}

}  // namespace norvad::ctl
