#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ctl/serve/answer.h"
#include "ctl/serve/hub.h"

namespace norvad::ctl {

// One connection: takes a request after the other and answers it. A client that is slow to send or to read is cut off.
// Lives as long as something is under way.
class Session final : public StateWaiter, public std::enable_shared_from_this<Session> {
public:
    Session(boost::asio::ip::tcp::socket socket, std::shared_ptr<Hub> hub, Places::Place place);

    void Start() { ReadRequest(); }
    void OnState(const BridgeState& state) override;

private:
    using ErrorCode = boost::beast::error_code;

    void ReadRequest();
    void OnRequest(ErrorCode error);
    void OnBadRequest(ErrorCode error);
    void AnswerRequest();
    void AwaitState();
    void AnswerFrom(const BridgeState& state);
    void BeginEvents();

    void Send(const Answer& answer, bool mayStay);
    void OnSent(ErrorCode error);
    void Close();
    void Drain();

    std::string_view Path() const;
    std::string_view Query() const;

    const std::shared_ptr<Hub> hub;
    const Places::Place place;
    boost::beast::tcp_stream stream;
    boost::asio::steady_timer stateTimer;
    bool awaitsState = false;
    boost::beast::flat_buffer buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::empty_body>> parser;
    boost::beast::http::response<boost::beast::http::string_body> response;
    std::optional<boost::beast::http::response_serializer<boost::beast::http::string_body>> serializer;
};

}  // namespace norvad::ctl
