#include "lab/virtual_switch/status_server.h"

#include <fcntl.h>
#include <sys/un.h>
#include <unistd.h>

#include <boost/asio/write.hpp>
#include <iostream>
#include <memory>
#include <utility>

#include "lab/common/errors.h"

namespace norvad::board {

using namespace lab;

using boost::asio::local::stream_protocol;
using boost::system::error_code;

namespace {

constexpr size_t maximumClients = 16;

stream_protocol::endpoint Address(const std::string& path) {
    if (path.size() >= sizeof(sockaddr_un::sun_path)) {
        throw StartError("the path of the status socket is too long: " + path);
    }
    return path;
}

stream_protocol::acceptor Listen(boost::asio::io_context& context, const std::string& path) {
    const auto address = Address(path);
    error_code error;
    stream_protocol::socket(context).connect(address, error);
    if (!error) {
        throw StartError("another board serves its status at " + path);
    }
    if (error == boost::asio::error::connection_refused) unlink(path.c_str());
    stream_protocol::acceptor acceptor(context, stream_protocol());
    (void)fcntl(acceptor.native_handle(), F_SETFD, FD_CLOEXEC);  // the daemon is not to have it
    acceptor.bind(address, error);
    if (!error) acceptor.listen(maximumClients, error);
    if (error) ThrowErrno("cannot serve status at " + path, error.value());
    return acceptor;
}

}  // namespace

StatusServer::StatusServer(boost::asio::io_context& context, const std::string& path, Report report)
    : path(path), report(std::move(report)), acceptor(Listen(context, path)) {
    Accept();
}

StatusServer::~StatusServer() {
    unlink(path.c_str());
}

void StatusServer::Accept() {
    acceptor.async_accept([this](const error_code& error, Protocol::socket client) {
        if (!error && clients < maximumClients) Send(std::move(client));
        if (error != boost::asio::error::operation_aborted) Accept();
    });
}

void StatusServer::Send(Protocol::socket client) {
    struct Answer {
        Protocol::socket client;
        std::string text;
    };
    const auto answer = std::make_shared<Answer>(Answer{std::move(client), report()});
    ++clients;
    boost::asio::async_write(answer->client, boost::asio::buffer(answer->text),
                             [this, answer](const error_code& error, size_t) {
                                 if (error != boost::asio::error::operation_aborted) --clients;
                             });
}

void PrintStatus(const std::string& path) {
    stream_protocol::iostream status(Address(path));
    if (!status) ThrowErrno("no board serves its status at " + path, status.error().value());
    std::cout << status.rdbuf();
}

}  // namespace norvad::board
