#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "ptp/ptp_messages.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

// Whole frames with every constant in place. The sender of a frame fills in port number, sequence id, time stamps
// and what an Announce carries.
Framed<SyncMessage> BuildSync(const MacAddress& source, const ClockIdentity& identity);
Framed<FollowUpMessage> BuildFollowUp(const MacAddress& source, const ClockIdentity& identity);
Framed<PdelayReqMessage> BuildPdelayReq(const MacAddress& source, const ClockIdentity& identity);
Framed<PdelayRespMessage> BuildPdelayResp(const MacAddress& source, const ClockIdentity& identity);
PdelayRespFollowUpSent BuildPdelayRespFollowUp(const MacAddress& source, const ClockIdentity& identity);
AnnounceSent BuildAnnounce(const MacAddress& source, const ClockIdentity& identity);

// Sends the frame out of one port, in a buffer with room for the padding to the smallest frame.
template <WireRecord Frame>
void SendFrame(I4DSASocket& socket, uint8_t port, const Frame& frame) {
    std::array<uint8_t, std::max(sizeof(Frame), minimumTaggedFrame)> buffer{};
    std::memcpy(buffer.data(), &frame, sizeof(Frame));
    socket.write(port, buffer.data(), sizeof(Frame));
}

}  // namespace norvad
