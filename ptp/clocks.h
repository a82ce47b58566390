#pragma once

#include <array>
#include <boost/endian/arithmetic.hpp>
#include <boost/endian/conversion.hpp>
#include <compare>
#include <cstdint>
#include <cstring>

#include "base/mac_address.h"

namespace norvad {

// The EUI-64 that names a clock, in wire order. Clocks are ranked byte by byte.
using ClockIdentity = std::array<uint8_t, 8>;

// The identity of a clock whose device has this MAC address: its bytes around FF-FE.
constexpr ClockIdentity ClockIdentityOf(const MacAddress& mac) {
    return {mac[0], mac[1], mac[2], 0xFF, 0xFE, mac[3], mac[4], mac[5]};
}

// The identity as a number, its first byte the most significant.
inline uint64_t ClockNumber(const ClockIdentity& identity) {
    return boost::endian::load_big_u64(identity.data());
}

// What clocks are compared by, in the order of the comparison and of the Announce message.
struct ClockDataset {
    uint8_t priority1;
    uint8_t clockClass;
    uint8_t clockAccuracy;
    boost::endian::big_uint16_t offsetScaledLogVariance;
    uint8_t priority2;
    ClockIdentity grandmasterIdentity;
    boost::endian::big_uint16_t stepsRemoved;
};
static_assert(sizeof(ClockDataset) == 16 && alignof(ClockDataset) == 1);

// Byte by byte; the smaller clock is the better one.
inline std::strong_ordering operator<=>(const ClockDataset& left, const ClockDataset& right) {
    return std::memcmp(&left, &right, sizeof(ClockDataset)) <=> 0;
}
inline bool operator==(const ClockDataset& left, const ClockDataset& right) {
    return std::is_eq(left <=> right);
}

// What the command line decides about gPTP.
struct PtpSettings {
    uint32_t ptpPriority1 = 250;  // of the local clock, 0..255; smaller is a better grandmaster
    bool ptpNoGM = false;         // the local clock never becomes grandmaster
};

// The clock of this device as it is announced when it is grandmaster.
struct LocalClock {
    ClockDataset dataset;
    ClockIdentity identity;
};

inline LocalClock MakeLocalClock(const ClockIdentity& identity, const PtpSettings& settings) {
    const ClockDataset dataset{static_cast<uint8_t>(settings.ptpPriority1), 248, 0xFE, 0x4100, 248, identity, 0};
    return {dataset, identity};
}

// The best clock known: its dataset, and the neighbour whose Announce brought it. Time is taken from that neighbour
// only.
struct BestMaster {
    ClockDataset dataset;
    ClockIdentity sender;
};

}  // namespace norvad
