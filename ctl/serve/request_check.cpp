#include "ctl/serve/request_check.h"

#include <algorithm>
#include <iterator>

namespace norvad::ctl {

namespace {

namespace http = boost::beast::http;

bool HasBody(const RequestHeader& request) {
    const auto length = request.find(http::field::content_length);
    return request.count(http::field::transfer_encoding) > 0 || (length != request.end() && length->value() != "0");
}

std::string_view View(boost::beast::string_view text) {
    return {text.data(), text.size()};
}

}  // namespace

bool NamesThisMachine(std::string_view host) {
    const size_t colon = host.rfind(':');
    if (colon != std::string_view::npos && host.find_first_not_of("0123456789", colon + 1) == std::string_view::npos) {
        host = host.substr(0, colon);
    }
    constexpr std::string_view names[] = {"localhost", "127.0.0.1", "[::1]"};
    return std::any_of(std::begin(names), std::end(names), [&](std::string_view name) {
        return boost::beast::iequals({host.data(), host.size()}, {name.data(), name.size()});
    });
}

std::optional<Answer> Refusal(const RequestHeader& request, const Limits& limits, bool isLoopback) {
    if (request.method() != http::verb::get && request.method() != http::verb::head) {
        return Answer{.status = 405, .body = "only GET and HEAD\n"};
    }
    if (HasBody(request)) return Answer{.status = 413, .body = "a request has no content here\n"};
    if (request.target().size() > limits.targetBytes) return Answer{.status = 414, .body = "the target is too long\n"};
    if (request.target().empty() || request.target().front() != '/') {
        return Answer{.status = 400, .body = "the target is no path\n"};
    }
    if (request.count(http::field::host) != 1) return Answer{.status = 400, .body = "there must be one Host\n"};
    if (isLoopback && !NamesThisMachine(View(request[http::field::host]))) {
        return Answer{.status = 421, .body = "this server is called localhost\n"};
    }
    return {};
}

}  // namespace norvad::ctl
