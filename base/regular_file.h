#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include "base/file_descriptor.h"

namespace norvad {

// Opens a file in a directory where strangers may have put anything under its name: a link, a pipe without a reader.
// None where it is no regular file or cannot be opened. flags and mode as for open.
inline FileDescriptor OpenRegularFile(const char* path, int flags, mode_t mode = 0) {
    FileDescriptor file(::open(path, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode));
    struct stat status {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    return file;
}

}  // namespace norvad
