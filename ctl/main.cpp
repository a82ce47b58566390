#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "ctl/control_client.h"
#include "ctl/kernel_control_door.h"
#include "ctl/options.h"
#include "ctl/program.h"
#include "ctl/serve/serve.h"

namespace {

using namespace norvad::ctl;

bool ColoursAreWanted() {
    const char* refused = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (!refused || !*refused);
}

// A terminal that does not know its size has the default one.
std::optional<ScreenSize> SizeOfOutput() {
    if (isatty(STDOUT_FILENO) == 0) return {};
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return ScreenSize{};
    return ScreenSize{size.ws_col, size.ws_row};
}

// The door is closed, and its queue removed, before the result is known outside.
ExitStatus RunOnDaemon(const Options& options) {
    KernelControlDoor door;
    ControlClient client(door, options.patienceMs);
    const Terminal terminal{std::cout, std::cerr, ColoursAreWanted(), SizeOfOutput};
    return WantsToServe(options) ? Serve(options, client, terminal) : Run(options, client, terminal);
}

ExitStatus RunProgram(int argc, char** argv) {
    try {
        const Options options = ReadOptions(argc, argv);
        if (!options.help) return RunOnDaemon(options);
        std::cout << HelpText();
        return ExitStatus::DONE;
    } catch (const UsageError& error) {
        std::cerr << "norvadctl: " << error.what() << "\n";
        return ExitStatus::USAGE;
    } catch (const std::exception& error) {
        std::cerr << "norvadctl: " << error.what() << "\n";
        return ExitStatus::NO_ANSWER;
    }
}

// Ends as the signal would have ended the program, for whoever waits for it.
[[noreturn]] void DieOf(int number) {
    (void)signal(number, SIG_DFL);
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, number);
    (void)raise(number);
    sigprocmask(SIG_UNBLOCK, &ending, nullptr);
    std::_Exit(128 + number);
}

}  // namespace

int main(int argc, char** argv) {
    // Whoever reads the output may stop, and leaves no queue behind.
    (void)signal(SIGPIPE, SIG_IGN);
    try {
        return static_cast<int>(RunProgram(argc, argv));
    } catch (const Interrupted& interrupted) {
        DieOf(interrupted.signal);
    }
}
