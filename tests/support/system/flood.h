#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "base/file_descriptor.h"
#include "tests/support/bytes.h"

namespace norvad::test {

// Sends frames into an interface while it lives, so many a second or as many as it can: those from first on, and all
// of them again.
class Flood {
public:
    // frames outlive the flood.
    Flood(const std::string& interface, const std::vector<Bytes>& frames, uint32_t perSecond, uint64_t first);
    ~Flood();
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;

    uint64_t Sent() const { return sent; }

private:
    void Run();
    void Send(uint64_t count);

    const std::vector<Bytes>& frames;
    const uint32_t perSecond;
    const uint64_t first;
    const FileDescriptor socket;
    std::atomic<uint64_t> sent{0};
    std::atomic<bool> stop{false};
    std::thread sender;
};

}  // namespace norvad::test
