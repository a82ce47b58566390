#pragma once

#include <string>

namespace norvad::lab {

// printf into a string; a text longer than 511 characters is cut.
[[gnu::format(printf, 1, 2)]] std::string Text(const char* format, ...);

}  // namespace norvad::lab
