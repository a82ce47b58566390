#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "tests/support/system/wait_for.h"

namespace norvad::test {

// A program on a terminal of its own, as a user runs it.
class PseudoTerminal {
public:
    PseudoTerminal(std::vector<std::string> command, unsigned short columns, unsigned short rows);

    // Kills the program when it still runs, and waits until it is gone.
    ~PseudoTerminal();

    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    pid_t Id() const { return id; }

    // As the keys of the user: "\x03" is Ctrl-C.
    void Type(const std::string& keys) const;

    void Resize(unsigned short columns, unsigned short rows) const;

    // Everything that was written on the terminal so far.
    const std::string& Output();

    // Whether text was written, behind that place of the output, before the deadline.
    bool WaitForOutput(const std::string& text, size_t from = 0);

    // As Process::WaitForExit. The output is read meanwhile.
    std::optional<int> WaitForExit();

private:
    FileDescriptor master;
    pid_t id = -1;
    std::optional<int> exit;
    std::string output;
};

}  // namespace norvad::test
