#pragma once

#include <array>
#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>

#include "base/mac_address.h"

namespace norvad {

// The records of the switch driver's private request (SIOCDEVPRIVATE), byte for byte as the driver reads and
// fills them: little-endian, a command code in front, the arguments from offset 8 on.

// A record is handed over at the beginning of a block of this size, zeros behind it: a driver may copy a structure in
// and out that holds the record of any command.
using CommandBlock = std::array<uint8_t, 32>;

enum class SwitchCommand : uint32_t {
    SWITCH_EGRESS_LIMIT = 12,
    SWITCH_PTP_TX_TIMESTAMP = 14,
    SWITCH_PTP_RX_TIMESTAMP = 15,
    SWITCH_PTP_CLOCK_SET = 16,
    SWITCH_PTP_CLOCKSTEER = 18,
    SWITCH_PORT_MCAST = 19,
    SWITCH_PORT_VLAN = 20,
    SWITCH_ALE_STATUS = 21,
};

struct CommandHeader {
    boost::endian::little_uint32_t command;   // a SwitchCommand
    boost::endian::little_uint32_t reserved;  // 0
};
static_assert(sizeof(CommandHeader) == 8 && alignof(CommandHeader) == 1);

// SWITCH_EGRESS_LIMIT
struct EgressLimitRecord {
    CommandHeader header;
    boost::endian::little_uint32_t port;
    boost::endian::little_uint32_t parameter;  // a traffic class, or the VLAN id of a reservation
    boost::endian::little_int32_t limit;       // bytes per second reserved, or a percentage from an operator
};
static_assert(sizeof(EgressLimitRecord) == 20 && offsetof(EgressLimitRecord, limit) == 16);

// SWITCH_PTP_TX_TIMESTAMP and SWITCH_PTP_RX_TIMESTAMP; the two times are the answer.
struct TimestampRecord {
    CommandHeader header;
    boost::endian::little_uint64_t first;       // ns, the hardware stamp
    boost::endian::little_uint64_t second;      // ns, the same instant on the steered clock
    boost::endian::little_uint16_t sequenceId;  // transmit: host order; receive: the header's bytes as they arrived
    uint8_t messageType;
    uint8_t port;
};
static_assert(sizeof(TimestampRecord) == 28 && offsetof(TimestampRecord, first) == 8 &&
              offsetof(TimestampRecord, second) == 16 && offsetof(TimestampRecord, sequenceId) == 24 &&
              offsetof(TimestampRecord, messageType) == 26 && offsetof(TimestampRecord, port) == 27);

// SWITCH_PTP_CLOCK_SET
struct ClockSetRecord {
    CommandHeader header;
    boost::endian::little_uint64_t value;  // ns by which the clock is stepped, two's complement
};
static_assert(sizeof(ClockSetRecord) == 16);

// SWITCH_PTP_CLOCKSTEER
struct ClockSteerRecord {
    CommandHeader header;
    boost::endian::little_int32_t value;  // 0: no correction
};
static_assert(sizeof(ClockSteerRecord) == 12);

// SWITCH_PORT_MCAST
struct PortMcastRecord {
    CommandHeader header;
    boost::endian::little_uint32_t add;       // 1: add, 0: remove
    boost::endian::little_uint32_t portMask;  // bit n: port n
    boost::endian::little_uint32_t vid;
    MacAddress address;
};
static_assert(sizeof(PortMcastRecord) == 26 && offsetof(PortMcastRecord, address) == 20);

// SWITCH_PORT_VLAN
struct PortVlanRecord {
    CommandHeader header;
    boost::endian::little_int32_t state;  // 1: member, 0: not
    boost::endian::little_int32_t portMask;
    boost::endian::little_int32_t vid;
};
static_assert(sizeof(PortVlanRecord) == 20 && offsetof(PortVlanRecord, vid) == 16);

}  // namespace norvad
