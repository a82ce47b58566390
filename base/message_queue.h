#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <span>
#include <string>

namespace norvad {

// Owns an open POSIX message queue and closes it; its name lives on until it is removed. What fails leaves its reason
// in errno.
class MessageQueue {
public:
    struct Capacity {
        long messages;
        long bytes;  // of one message
    };

    MessageQueue() = default;  // none
    MessageQueue(MessageQueue&& other) noexcept;
    MessageQueue& operator=(MessageQueue&& other) noexcept;
    ~MessageQueue();

    // flags: O_RDONLY, O_WRONLY or O_RDWR, and O_NONBLOCK. Create fails where there is a queue of the name already. The
    // process's mask applies to mode.
    static MessageQueue Create(const std::string& name, int flags, mode_t mode, const Capacity& capacity);
    static MessageQueue Open(const std::string& name, int flags);
    static void Remove(const std::string& name);

    bool IsOpen() const { return descriptor >= 0; }
    int Descriptor() const { return descriptor; }  // for poll; -1: none
    bool IsLinked() const;                         // somebody can still open it by its name
    bool Permit(mode_t mode) const;                // whatever the process's mask was when it was made

    bool Send(std::span<const uint8_t> message, unsigned priority) const;

    // One message; its length, or -1. buffer holds as many bytes as a message of the queue may have.
    ssize_t Receive(std::span<uint8_t> buffer) const;
    // Waits until the wall clock reaches the deadline.
    ssize_t Receive(std::span<uint8_t> buffer, const timespec& deadline) const;

private:
    explicit MessageQueue(int descriptor) : descriptor(descriptor) {}

    int descriptor = -1;
};

}  // namespace norvad
