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
    const std::string path = "/proc/self/fd/" + std::to_string(stream);
    const FileDescriptor own(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (own.IsOpen()) (void)dup2(own.Get(), stream);
}

// A socket cannot be opened anew; but who hands one over, as a service manager does, makes it for this process.
void StopWaitingOn(int stream) {
    struct stat status {};
    if (fstat(stream, &status) != 0) return;
    if (S_ISSOCK(status.st_mode)) (void)fcntl(stream, F_SETFL, fcntl(stream, F_GETFL) | O_NONBLOCK);
    if (S_ISFIFO(status.st_mode) || isatty(stream) != 0) OpenAnew(stream);
}

}  // namespace

void DetachFromReaders() {
    (void)signal(SIGPIPE, SIG_IGN);
    StopWaitingOn(STDOUT_FILENO);
    StopWaitingOn(STDERR_FILENO);
}

}  // namespace norvad
