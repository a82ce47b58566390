#include "tests/support/system/virtual_board.h"

#include <csignal>
#include <filesystem>
#include <sstream>

namespace norvad::test {
namespace {

constexpr const char* addressText = "02:4e:56:44:00:03";

std::vector<std::string> CommandLine(const std::vector<std::string>& daemonArguments,
                                     const std::vector<std::string>& boardArguments) {
    std::filesystem::create_directory(VirtualBoard::captures);
    std::vector<std::string> command{
        NORVAD_VIRTUAL_SWITCH, "--port0", "port0", "--port1", "port1", "--cpu-address", addressText, "--capture",
        VirtualBoard::captures};
    command.insert(command.end(), boardArguments.begin(), boardArguments.end());
    command.insert(command.end(), {"--", NORVAD_DAEMON});
    command.insert(command.end(), daemonArguments.begin(), daemonArguments.end());
    return command;
}

}  // namespace

const Bytes& VirtualBoard::Address() {
    static const Bytes address = FromHex("02 4e 56 44 00 03");
    return address;
}

VirtualBoard::VirtualBoard(const std::vector<std::string>& daemonArguments,
                           const std::vector<std::string>& boardArguments)
    : program(CommandLine(daemonArguments, boardArguments)) {}

pid_t VirtualBoard::WaitForDaemon() const {
    pid_t found = 0;
    WaitFor([&] {
        for (const pid_t id : ProcessesNamed("norvad3"))
            if (IsInEventLoop(id)) found = id;
        return found != 0;
    });
    return found;
}

bool VirtualBoard::WaitForEvent(const std::string& event, size_t count) const {
    return WaitFor([&] { return Events(event) >= count; });
}

// A line of the board reads "12:00:00.000 board: event".
size_t VirtualBoard::Events(const std::string& event) const {
    std::istringstream output(program.Output());
    const std::string ending = " board: " + event;
    size_t count = 0;
    for (std::string line; std::getline(output, line);) count += line.ends_with(ending) ? 1 : 0;
    return count;
}

std::vector<Dissected> Dissect(const std::string& capture, const Bytes& source) {
    // One frame a line: its protocols, a tab, and a text when some dissector ran out of bytes.
    std::istringstream lines(RunCommand({"tshark", "-n", "-r", capture, "-Y", "eth.src == " + ToHex(source, ":"), "-T",
                                         "fields", "-e", "frame.protocols", "-e", "_ws.malformed"}));
    std::vector<Dissected> frames;
    for (std::string line; std::getline(lines, line);) {
        const auto tab = line.find('\t');
        frames.push_back({line.substr(0, tab), tab != std::string::npos && tab + 1 < line.size()});
    }
    return frames;
}

}  // namespace norvad::test
