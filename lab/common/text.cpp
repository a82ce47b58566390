#include "lab/common/text.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace norvad::lab {

std::string Text(const char* format, ...) {
    std::array<char, 512> text;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

}  // namespace norvad::lab
