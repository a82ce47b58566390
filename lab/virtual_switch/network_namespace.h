#pragma once

#include "base/file_descriptor.h"

namespace norvad::board {

// A network namespace without a process in it: it goes, with the interfaces in it, when its descriptor and the last
// socket of it are closed, however the program ends. Throws StartError where it cannot be made.
class NetworkNamespace {
public:
    NetworkNamespace();
    int Descriptor() const { return descriptor.Get(); }

private:
    FileDescriptor descriptor;
};

// The calling thread is in another network namespace while this lives.
class WithinNetwork {
public:
    explicit WithinNetwork(const NetworkNamespace& network);
    WithinNetwork(const WithinNetwork&) = delete;
    WithinNetwork& operator=(const WithinNetwork&) = delete;
    ~WithinNetwork();

private:
    FileDescriptor original;
};

}  // namespace norvad::board
