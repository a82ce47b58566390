#pragma once

#include <cstdint>

#include "tests/support/system/frame.h"

namespace norvad::test {

// gPTP frames as IEEE 802.1AS clauses 10.5 and 11.4 print them, built and read without the daemon's own code.

// Their first bytes.
enum GptpMessage : uint8_t {
    gptpSync = 0x10,
    pdelayReq = 0x12,
    pdelayResp = 0x13,
    gptpFollowUp = 0x18,
    pdelayRespFollowUp = 0x1A,
    gptpAnnounce = 0x1B,
};

// Counted from the start of a plain Ethernet frame.
inline constexpr size_t gptpSequenceAt = 14 + 30;
inline constexpr size_t gptpIdentityAt = 14 + 20;   // clock identity and port number of the sender, 10 bytes
inline constexpr size_t gptpBodyTimeAt = 14 + 34;   // 10 bytes
inline constexpr size_t gptpRequesterAt = 14 + 44;  // 10 bytes, in both answers to a request

// Whether frame is the gPTP message with that first byte.
bool IsGptp(const Bytes& frame, GptpMessage message);

// A peer delay request of a station with that address.
Bytes PdelayRequest(const Bytes& source, uint16_t sequence);

// Both answers to a request that arrived, the time in them read now.
Bytes PdelayResponse(const Bytes& source, const Bytes& request);
Bytes PdelayResponseFollowUp(const Bytes& source, const Bytes& request);

// The station as a grandmaster that is the better, the lower its first priority is: bridges have 246 or more.
Bytes AnnounceOf(const Bytes& source, uint16_t sequence, uint8_t priority1);
Bytes SyncOf(const Bytes& source, uint16_t sequence);
Bytes FollowUpOf(const Bytes& source, uint16_t sequence);

}  // namespace norvad::test
