#pragma once

#include <optional>
#include <string_view>

#include "ctl/selection.h"
#include "ctl/serve/answer.h"
#include "ctl/serve/bridge_state.h"

namespace norvad::ctl {

// Where programs ask: "/metrics", and "/api/v1/ports" for what norvadctl ports --json prints, and so on.
bool IsApiPath(std::string_view path);

// The answer to such a path. What is asked for without a daemon's answer is 503, in words; metrics say so themselves.
Answer ApiAnswer(std::string_view path, const Selection& selection, const BridgeState& state);

}  // namespace norvad::ctl
