#include "ctl/serve/event_stream.h"

#include <boost/asio/write.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/write.hpp>
#include <sstream>
#include <utility>

#include "ctl/serve/response_fields.h"

namespace norvad::ctl {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;

// Neither length nor chunks: what is sent ends with the connection.
std::string StreamHeader() {
    constexpr unsigned httpVersion = 11;
    http::response<http::empty_body> response(http::status::ok, httpVersion);
    SetSafeFields(response);
    response.set(http::field::content_type, {eventStreamType.data(), eventStreamType.size()});
    response.keep_alive(false);
    std::ostringstream text;
    text << response.base();
    return text.str();
}

}  // namespace

EventStream::EventStream(asio::ip::tcp::socket socket, std::shared_ptr<Hub> hub, Places::Place connection,
                         Places::Place place, EventFeed::Position position)
    : hub(std::move(hub)),
      connection(std::move(connection)),
      place(std::move(place)),
      socket(std::move(socket)),
      timer(this->socket.get_executor()),
      position(position) {}

void EventStream::Start() {
    AwaitEnd();
    hub->AwaitState(weak_from_this());
    Send(StreamHeader() + hub->Events().Next(position));
}

void EventStream::OnState(const BridgeState&) {
    hub->AwaitState(weak_from_this());
    if (sending.empty()) SendWhatIsNew();
}

void EventStream::SendWhatIsNew() {
    std::string text = hub->Events().Next(position);
    if (!text.empty()) return Send(std::move(text));
    SetTimer(hub->limits.heartbeat);
}

void EventStream::Send(std::string text) {
    sending = std::move(text);
    SetTimer(hub->limits.sendTime);
    asio::async_write(socket, asio::buffer(sending),
                      [self = shared_from_this()](boost::system::error_code error, size_t) {
                          self->sending.clear();
                          if (error) return self->End();
                          self->SendWhatIsNew();
                      });
}

void EventStream::SetTimer(std::chrono::milliseconds time) {
    timer.expires_after(time);
    timer.async_wait([self = shared_from_this()](boost::system::error_code error) {
        const bool isLate = self->timer.expiry() > asio::steady_timer::clock_type::now();  // and was set anew
        if (!error && !isLate) self->OnTimer();
    });
}

void EventStream::OnTimer() {
    if (!sending.empty()) return End();
    Send(": heartbeat\n\n");
}

// Clients send nothing more; what they do send is not read to its end.
void EventStream::AwaitEnd() {
    socket.async_read_some(asio::buffer(received),
                           [self = shared_from_this()](boost::system::error_code error, size_t) {
                               if (error) return self->End();
                               self->AwaitEnd();
                           });
}

void EventStream::End() {
    boost::system::error_code ignored;
    socket.close(ignored);
    timer.cancel();
}

}  // namespace norvad::ctl
