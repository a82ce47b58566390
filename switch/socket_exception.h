#pragma once

#include <exception>
#include <string>
#include <utility>

namespace Orla {

// Base of the daemon's exceptions: one message text.
class Exception : public std::exception {
public:
    explicit Exception(std::string message) : message(std::move(message)) {}
    const char* what() const noexcept override { return message.c_str(); }
    virtual std::string Message() const { return message; }

private:
    std::string message;
};

}  // namespace Orla

namespace norvad {

// A socket that could not be set up, or whose reading failed.
class SocketException : public Orla::Exception {
public:
    using Orla::Exception::Exception;
};

}  // namespace norvad
