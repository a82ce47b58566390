#pragma once

#include <stdexcept>
#include <string>

namespace norvad::lab {

// Why a program of the lab cannot start; the text is for its user.
class StartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws "what: why", the reason taken from errno; a refusal says what would be allowed to.
[[noreturn]] void ThrowErrno(const std::string& what);
[[noreturn]] void ThrowErrno(const std::string& what, int error);

}  // namespace norvad::lab
