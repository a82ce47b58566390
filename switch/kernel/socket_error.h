#pragma once

namespace norvad {

// The pending error of a socket, cleared by asking; 0 without one and without a socket.
int TakeSocketError(int descriptor);

// Prints the text and the system's error to standard error, then throws SocketException with message.
[[noreturn]] void FailSetUp(const char* text, const char* message);

}  // namespace norvad
