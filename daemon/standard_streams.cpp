#include "daemon/standard_streams.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "base/file_descriptor.h"

namespace norvad {

namespace {

// O_NONBLOCK belongs to the open file that all heirs of the descriptor share, so the stream is opened anew.
void OpenAnew(int stream) {
    struct stat status {};
    if (fstat(stream, &status) != 0 || (!S_ISFIFO(status.st_mode) && isatty(stream) == 0)) return;
    const std::string path = "/proc/self/fd/" + std::to_string(stream);
    const FileDescriptor own(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (own.IsOpen()) (void)dup2(own.Get(), stream);
}

}  // namespace

void DetachFromReaders() {
    (void)signal(SIGPIPE, SIG_IGN);
    OpenAnew(STDOUT_FILENO);
    OpenAnew(STDERR_FILENO);
}

}  // namespace norvad
