#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/system/gptp_frame.h"
#include "tests/support/system/wire.h"

namespace norvad::test {

// A neighbour that answers every peer delay request on interface while it lives: the port at the other end becomes AS
// capable.
class GptpPeer {
public:
    GptpPeer(const std::string& interface, Bytes address);
    ~GptpPeer();

private:
    void Answer();

    Wire wire;
    Bytes address;
    std::atomic<bool> stop{false};
    std::thread answerer;
};

}  // namespace norvad::test
