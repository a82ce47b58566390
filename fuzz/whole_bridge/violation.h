#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace norvad::fuzz {

// The target dies of what must hold and does not.
[[noreturn]] inline void Violated(const char* what, const std::string& where) {
    std::fprintf(stderr, "violated: %s: %s\n", what, where.c_str());
    std::abort();
}

[[noreturn]] inline void Violated(const char* what, uint64_t number) {
    Violated(what, std::to_string(number));
}

}  // namespace norvad::fuzz
