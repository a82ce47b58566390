#pragma once

#include <sys/eventfd.h>

#include <stdexcept>

#include "base/file_descriptor.h"

namespace norvad::test {

// A descriptor that poll finds readable while there is something to take.
class Readiness {
public:
    Readiness() : descriptor(::eventfd(0, EFD_SEMAPHORE | EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!descriptor.IsOpen()) throw std::runtime_error("eventfd");
    }
    int Descriptor() const { return descriptor.Get(); }
    void Add() { (void)::eventfd_write(descriptor.Get(), 1); }
    void Take() {
        eventfd_t one;
        (void)::eventfd_read(descriptor.Get(), &one);
    }

private:
    FileDescriptor descriptor;
};

}  // namespace norvad::test
