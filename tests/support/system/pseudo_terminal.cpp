#include "tests/support/system/pseudo_terminal.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace norvad::test {

PseudoTerminal::PseudoTerminal(std::vector<std::string> command, unsigned short columns, unsigned short rows) {
    std::vector<char*> arguments;
    for (auto& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const winsize size{.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    int descriptor = -1;
    id = forkpty(&descriptor, nullptr, nullptr, &size);
    if (id < 0) throw std::runtime_error("no pseudo-terminal");
    if (id == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    master = FileDescriptor(descriptor);
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

PseudoTerminal::~PseudoTerminal() {
    if (exit) return;
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
}

void PseudoTerminal::Type(const std::string& keys) const {
    if (write(master.Get(), keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("the terminal takes no keys");
    }
}

void PseudoTerminal::Resize(unsigned short columns, unsigned short rows) const {
    const winsize size{.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    if (ioctl(master.Get(), TIOCSWINSZ, &size) != 0) throw std::runtime_error("the terminal keeps its size");
}

const std::string& PseudoTerminal::Output() {
    std::array<char, 4096> written{};
    for (;;) {
        const ssize_t length = read(master.Get(), written.data(), written.size());
        if (length <= 0) return output;
        output.append(written.data(), static_cast<size_t>(length));
    }
}

bool PseudoTerminal::WaitForOutput(const std::string& text, size_t from) {
    return WaitFor([&] { return Output().find(text, from) != std::string::npos; });
}

std::optional<int> PseudoTerminal::WaitForExit() {
    WaitFor([&] {
        (void)Output();
        int status = 0;
        if (!exit && waitpid(id, &status, WNOHANG) == id) {
            exit = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
        }
        return exit.has_value();
    });
    (void)Output();
    return exit;
}

}  // namespace norvad::test
