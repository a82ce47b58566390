#pragma once

#include "base/file_descriptor.h"

namespace norvad::ctl {

// A signal asked the program to end. It is thrown where the program waits, so that what it made is removed.
struct Interrupted {
    int signal;
};

// Takes SIGINT, SIGTERM, SIGHUP and SIGWINCH from the calling thread and from those it starts later, and gives a
// descriptor that becomes readable when one of them has come. Throws std::system_error.
FileDescriptor TakeSignals();

// Takes one that has come: throws Interrupted when it asks for the end. True when the terminal has another size.
bool HeedSignal(const FileDescriptor& signals);

}  // namespace norvad::ctl
