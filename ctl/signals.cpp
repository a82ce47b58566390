#include "ctl/signals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace norvad::ctl {

FileDescriptor TakeSignals() {
    sigset_t taken;
    sigemptyset(&taken);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) sigaddset(&taken, signal);
    sigprocmask(SIG_BLOCK, &taken, nullptr);
    FileDescriptor signals(signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals.IsOpen()) throw std::system_error(errno, std::generic_category(), "signalfd");
    return signals;
}

bool HeedSignal(const FileDescriptor& signals) {
    signalfd_siginfo signal{};
    if (read(signals.Get(), &signal, sizeof signal) != sizeof signal) return false;
    if (signal.ssi_signo == SIGWINCH) return true;
    throw Interrupted{static_cast<int>(signal.ssi_signo)};
}

}  // namespace norvad::ctl
