#pragma once

#include <optional>
#include <string_view>

#include "ctl/selection.h"

namespace norvad::ctl {

// What stands behind the question mark of a request, "port=1&offset=20&limit=10": each of port, stream, limit and
// offset once at most, in the ranges of the command line's options. Nothing when anything else stands there.
std::optional<Selection> ReadQuery(std::string_view query);

}  // namespace norvad::ctl
