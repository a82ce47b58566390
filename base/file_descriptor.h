#pragma once

#include <unistd.h>

#include <utility>

namespace norvad {

// Owns one file descriptor and closes it; -1 is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor, other.descriptor);
        return *this;
    }
    ~FileDescriptor() { Close(); }

    int Get() const { return descriptor; }
    bool IsOpen() const { return descriptor >= 0; }

    void Close() {
        if (descriptor >= 0) ::close(descriptor);
        descriptor = -1;
    }

private:
    int descriptor = -1;
};

}  // namespace norvad
