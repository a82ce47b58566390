#pragma once

#include <string>
#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/explanation.h"

namespace norvad::ctl {

// "explain port N", "explain stream ID" or "explain clock": asks what that rests on, and says what of it holds. Throws
// UsageError before anything is asked, and NoAnswer.
Explanation Explain(const std::vector<std::string>& words, BridgeReader& bridge);

}  // namespace norvad::ctl
