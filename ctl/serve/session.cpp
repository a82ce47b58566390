#include "ctl/serve/session.h"

#include <algorithm>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <utility>

#include "ctl/serve/api.h"
#include "ctl/serve/event_stream.h"
#include "ctl/serve/page_files.h"
#include "ctl/serve/query.h"
#include "ctl/serve/request_check.h"
#include "ctl/serve/response_fields.h"

namespace norvad::ctl {

namespace {

namespace beast = boost::beast;
namespace http = beast::http;

constexpr std::string_view eventsPath = "/api/v1/events";
constexpr unsigned httpVersion = 11;

std::string_view View(beast::string_view text) {
    return {text.data(), text.size()};
}

beast::string_view View(std::string_view text) {
    return {text.data(), text.size()};
}

const PageFile* FindPageFile(std::string_view path) {
    for (const PageFile& file : PageFiles()) {
        if (file.path == path) return &file;
    }
    return nullptr;
}

}  // namespace

Session::Session(boost::asio::ip::tcp::socket socket, std::shared_ptr<Hub> hub, Places::Place place)
    : hub(std::move(hub)),
      place(std::move(place)),
      stream(std::move(socket)),
      stateTimer(stream.get_executor()),
      buffer(this->hub->limits.headerBytes) {}

void Session::ReadRequest() {
    parser.emplace();
    parser->header_limit(static_cast<uint32_t>(hub->limits.headerBytes));
    stream.expires_after(hub->limits.requestTime);
    http::async_read_header(stream, buffer, *parser,
                            [self = shared_from_this()](ErrorCode error, size_t) { self->OnRequest(error); });
}

void Session::OnRequest(ErrorCode error) {
    if (error) return OnBadRequest(error);
    if (const auto refusal = Refusal(parser->get(), hub->limits, hub->isLoopback)) return Send(*refusal, false);
    AnswerRequest();
}

// Who went away or was too slow is told nothing.
void Session::OnBadRequest(ErrorCode error) {
    if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        return Send({.status = 431, .body = "the header is too long\n"}, false);
    }
    const bool isNoHttp = error.category() == http::make_error_code(http::error::bad_method).category();
    if (isNoHttp && error != http::error::end_of_stream && error != http::error::partial_message) {
        Send({.status = 400, .body = "this is no request of HTTP\n"}, false);
    }
}

void Session::AnswerRequest() {
    if (Path() == eventsPath) return BeginEvents();
    if (const PageFile* file = FindPageFile(Path())) {
        return Send({.type = file->type, .body = std::string(file->content)}, true);
    }
    if (!IsApiPath(Path())) return Send({.status = 404, .body = "there is no such thing\n"}, true);
    if (!ReadQuery(Query())) {
        return Send({.status = 400, .body = "the query may name port, stream, limit and offset, once each\n"}, true);
    }
    if (const SharedState state = hub->FreshState()) return AnswerFrom(*state);
    AwaitState();
}

void Session::AwaitState() {
    awaitsState = true;
    hub->AwaitState(weak_from_this());
    stateTimer.expires_after(hub->limits.stateTime);
    stateTimer.async_wait([self = shared_from_this()](ErrorCode) {
        if (!std::exchange(self->awaitsState, false)) return;
        self->Send({.status = 503, .body = "the daemon has not answered yet\n"}, true);
    });
}

void Session::OnState(const BridgeState& state) {
    if (!std::exchange(awaitsState, false)) return;
    stateTimer.cancel();
    AnswerFrom(state);
}

void Session::AnswerFrom(const BridgeState& state) {
    Send(ApiAnswer(Path(), *ReadQuery(Query()), state), true);
}

// The connection becomes the stream's, and this session ends.
void Session::BeginEvents() {
    if (parser->get().method() == http::verb::head) return Send({.type = eventStreamType}, false);
    auto streamPlace = hub->eventStreams.Take();
    if (!streamPlace) return Send({.status = 503, .body = "too many follow the events\n"}, false);
    const auto position = hub->Events().PositionBehind(View(parser->get()["Last-Event-ID"]));
    stream.expires_never();
    std::make_shared<EventStream>(stream.release_socket(), hub, place, std::move(streamPlace), position)->Start();
}

void Session::Send(const Answer& answer, bool mayStay) {
    serializer.reset();
    response = http::response<http::string_body>(http::status(answer.status), httpVersion);
    SetSafeFields(response);
    response.set(http::field::content_type, View(answer.type));
    if (answer.status == 405) response.set(http::field::allow, "GET, HEAD");
    if (answer.status == 503) response.set(http::field::retry_after, "1");
    response.body() = answer.body;
    response.keep_alive(mayStay && parser->get().keep_alive());
    response.prepare_payload();

    stream.expires_after(hub->limits.sendTime);
    serializer.emplace(response);
    const auto onSent = [self = shared_from_this()](ErrorCode error, size_t) { self->OnSent(error); };
    if (parser->get().method() == http::verb::head) {
        http::async_write_header(stream, *serializer, onSent);
    } else {
        http::async_write(stream, *serializer, onSent);
    }
}

void Session::OnSent(ErrorCode error) {
    if (error) return;
    if (response.keep_alive()) return ReadRequest();
    Close();
}

// Closing at once, with unread bytes of a request, might take the answer away from the client.
void Session::Close() {
    ErrorCode ignored;
    stream.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
    stream.expires_after(hub->limits.closeTime);
    Drain();
}

void Session::Drain() {
    buffer.clear();
    stream.async_read_some(buffer.prepare(hub->limits.headerBytes),
                           [self = shared_from_this()](ErrorCode error, size_t) {
                               if (!error) self->Drain();
                           });
}

std::string_view Session::Path() const {
    const std::string_view target = View(parser->get().target());
    return target.substr(0, target.find('?'));
}

std::string_view Session::Query() const {
    const std::string_view target = View(parser->get().target());
    return target.substr(std::min(target.size(), Path().size() + 1));
}

}  // namespace norvad::ctl
