#pragma once

#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/message.hpp>
#include <optional>

#include "ctl/serve/answer.h"
#include "ctl/serve/limits.h"

namespace norvad::ctl {

using RequestHeader = boost::beast::http::request_header<>;

// Whether a Host field names this machine, as it does in whatever a browser here asks of a server on loopback. A page
// from elsewhere whose own name was made to lead here keeps that name.
bool NamesThisMachine(std::string_view host);

// Why a request is not answered, whatever it asks for.
std::optional<Answer> Refusal(const RequestHeader& request, const Limits& limits, bool isLoopback);

}  // namespace norvad::ctl
