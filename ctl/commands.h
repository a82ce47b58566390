#pragma once

#include <optional>
#include <string>
#include <vector>

namespace norvad::ctl {

// The daemon's request for a command in words ("log mrp 2", "priority 128"); nothing when the first word is no command.
// The daemon answers OK to much that it then ignores, so everything is checked here: throws UsageError.
std::optional<std::string> RequestFor(const std::vector<std::string>& words);

}  // namespace norvad::ctl
