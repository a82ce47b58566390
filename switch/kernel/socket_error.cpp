#include "switch/kernel/socket_error.h"

#include <sys/socket.h>

#include <cstdio>

#include "switch/socket_exception.h"

namespace norvad {

int TakeSocketError(int descriptor) {
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) < 0) return 0;
    return error;
}

void FailSetUp(const char* text, const char* message) {
    std::perror(text);
    throw SocketException(message);
}

}  // namespace norvad
