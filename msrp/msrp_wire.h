#pragma once

#include <array>
#include <boost/endian/arithmetic.hpp>
#include <cstdint>

#include "base/mac_address.h"

namespace norvad {

// MSRP attribute values as they travel, IEEE 802.1Q, 35.2.2.8 and 35.2.2.9.

inline constexpr MacAddress msrpGroupAddress = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};

inline constexpr uint8_t TALKER_ADVERTISE = 1;
inline constexpr uint8_t TALKER_FAILED = 2;
inline constexpr uint8_t LISTENER_VECTOR = 3;
inline constexpr uint8_t DOMAIN = 4;

using StreamID = std::array<uint8_t, 8>;  // the talker's MAC address and a 16-bit unique id
using BridgeID = std::array<uint8_t, 8>;

struct TalkerFirstValue {
    StreamID streamId;
    MacAddress destination;
    boost::endian::big_uint16_t vid;
    boost::endian::big_uint16_t maxFrameSize;        // bytes
    boost::endian::big_uint16_t maxIntervalFrames;   // frames in a class measurement interval
    uint8_t priorityAndRank;                         // bits 7..5: the data frames' priority
    boost::endian::big_uint32_t accumulatedLatency;  // ns

    uint8_t DataFramePriority() const { return priorityAndRank >> 5; }
};
static_assert(sizeof(TalkerFirstValue) == 25 && alignof(TalkerFirstValue) == 1);

struct TalkerFailedFirstValue {
    TalkerFirstValue talker;
    BridgeID bridgeId;
    uint8_t failureCode;
};
static_assert(sizeof(TalkerFailedFirstValue) == 34 && alignof(TalkerFailedFirstValue) == 1);

// Why a talker cannot be carried on, IEEE 802.1Q, table 35-6. The one code that this bridge makes itself:
inline constexpr uint8_t egressPortNotAvbCapable = 8;

struct ListenerFirstValue {
    StreamID streamId;
};
static_assert(sizeof(ListenerFirstValue) == 8);

struct DomainFirstValue {
    uint8_t srClassId;
    uint8_t srClassPriority;
    boost::endian::big_uint16_t srClassVid;
};
static_assert(sizeof(DomainFirstValue) == 4 && alignof(DomainFirstValue) == 1);

}  // namespace norvad
