#pragma once

#include <string>

#include "tests/support/system/frame.h"

namespace norvad::test {

// MSRP frames as IEEE 802.1Q clause 35 prints them, built and read without the daemon's own code.

enum MsrpType : uint8_t { msrpTalker = 1, msrpTalkerFailed = 2, msrpListener = 3, msrpDomain = 4 };
enum MrpEvent : uint8_t { mrpNew, mrpJoinIn, mrpIn, mrpJoinMt, mrpMt, mrpLv };
enum ListenerState : uint8_t { listenerIgnore, listenerAskingFailed, listenerReady, listenerReadyFailed };

// One value of a PDU.
struct MsrpValue {
    uint8_t type;
    MrpEvent event;
    Bytes firstValue;
    ListenerState listener = listenerIgnore;
};

// One stream in the talker's words.
struct StreamText {
    Bytes id;           // 8 bytes
    Bytes destination;  // 6 bytes
    uint16_t vid = 2;
    uint16_t maxFrameSize = 100;
    uint16_t maxIntervalFrames = 1;
    uint8_t priorityAndRank = 0x70;
    uint32_t latencyNs = 5000;
};

inline constexpr size_t latencyAt = 21;   // in a talker's first value
inline constexpr size_t bridgeIdAt = 25;  // in a failed talker's
inline constexpr size_t failureCodeAt = 33;

Bytes TalkerValue(const StreamText& stream);

// A frame with that one value, or with a vector of count successive ones that begins with it, 4,000 at most.
Bytes MsrpFrame(const Bytes& source, const MsrpValue& value, size_t count = 1);

// Every value of a frame; throws when a length in it points out of the frame, and is empty for other EtherTypes.
std::vector<MsrpValue> ReadMsrp(const Bytes& frame);

// Whether the frame carries a value of that type whose first value begins so, and declares or leaves it.
bool Declares(const Bytes& frame, MsrpType type, const Bytes& begin);
bool Leaves(const Bytes& frame, MsrpType type, const Bytes& begin);

// The value that made Declares true.
MsrpValue DeclaredValue(const Bytes& frame, MsrpType type, const Bytes& begin);

}  // namespace norvad::test
