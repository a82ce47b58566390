#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/system/frame.h"
#include "tests/support/system/wire.h"

namespace norvad::test {

// Message bytes of gPTP, counted from the start of a plain Ethernet frame.
enum GptpMessage : uint8_t { pdelayReq = 0x12, pdelayResp = 0x13, pdelayRespFollowUp = 0x1A };
inline constexpr size_t gptpSequenceAt = 14 + 30;
inline constexpr size_t gptpIdentityAt = 14 + 20;   // clock identity and port number of the sender, 10 bytes
inline constexpr size_t gptpBodyTimeAt = 14 + 34;   // 10 bytes
inline constexpr size_t gptpRequesterAt = 14 + 44;  // 10 bytes, in both answers to a request

// Whether frame is the gPTP message with that first byte.
bool IsGptp(const Bytes& frame, GptpMessage message);

// A peer delay request of a station with that address.
Bytes PdelayRequest(const Bytes& source, uint16_t sequence);

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
