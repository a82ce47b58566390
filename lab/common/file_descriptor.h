#pragma once

#include <unistd.h>

#include <utility>

namespace norvad::board {

// Owns a descriptor; -1: none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.descriptor, -1));
        return *this;
    }
    ~FileDescriptor() { Reset(); }

    int Get() const { return descriptor; }
    explicit operator bool() const { return descriptor >= 0; }
    void Reset(int replacement = -1) {
        if (descriptor >= 0) ::close(descriptor);
        descriptor = replacement;
    }

private:
    int descriptor = -1;
};

}  // namespace norvad::board
