#include "lab/common/errors.h"

#include <cerrno>
#include <cstring>

namespace norvad::lab {

void ThrowErrno(const std::string& what) {
    ThrowErrno(what, errno);
}

void ThrowErrno(const std::string& what, int error) {
    std::string text = what + ": " + std::strerror(error);
    if (error == EPERM || error == EACCES) {
        text += " (run as root, or in a user and network namespace: unshare -Urnim --map-root-user)";
    }
    throw StartError(text);
}

}  // namespace norvad::lab
