#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>

#include "driver/include/norvad3_switch.h"
#include "switch/cpu_tag.h"
#include "switch/driver_records.h"
#include "switch/netlink_wire.h"
#include "switch/ports.h"

// The header that drivers are written with says the same as the records that the daemon is written with: a field that
// moves, grows or goes on one side does not compile here, nor does a command that only one side knows.

namespace norvad {
namespace {

#define SAME_RECORD(theirs, ours) static_assert(sizeof(theirs) == sizeof(ours))
#define SAME_FIELD(theirs, theirField, ours, ourField)                        \
    static_assert(offsetof(theirs, theirField) == offsetof(ours, ourField) && \
                  sizeof(theirs::theirField) == sizeof(ours::ourField))

SAME_RECORD(norvad3_cpu_tag, CpuTag);
SAME_FIELD(norvad3_cpu_tag, ethertype, CpuTag, tagEtherType);
SAME_FIELD(norvad3_cpu_tag, reserved, CpuTag, reserved);
SAME_FIELD(norvad3_cpu_tag, type, CpuTag, tagType);
SAME_FIELD(norvad3_cpu_tag, port, CpuTag, port);
SAME_FIELD(norvad3_cpu_tag, fixed, CpuTag, fixed);

SAME_RECORD(norvad3_request, CommandBlock);
SAME_RECORD(norvad3_header, CommandHeader);
SAME_FIELD(norvad3_header, command, CommandHeader, command);
SAME_FIELD(norvad3_header, reserved, CommandHeader, reserved);

SAME_RECORD(norvad3_egress_limit, EgressLimitRecord);
SAME_FIELD(norvad3_egress_limit, header, EgressLimitRecord, header);
SAME_FIELD(norvad3_egress_limit, port, EgressLimitRecord, port);
SAME_FIELD(norvad3_egress_limit, parameter, EgressLimitRecord, parameter);
SAME_FIELD(norvad3_egress_limit, limit, EgressLimitRecord, limit);

SAME_RECORD(norvad3_timestamp, TimestampRecord);
SAME_FIELD(norvad3_timestamp, header, TimestampRecord, header);
SAME_FIELD(norvad3_timestamp, first, TimestampRecord, first);
SAME_FIELD(norvad3_timestamp, second, TimestampRecord, second);
SAME_FIELD(norvad3_timestamp, sequence, TimestampRecord, sequenceId);
SAME_FIELD(norvad3_timestamp, type, TimestampRecord, messageType);
SAME_FIELD(norvad3_timestamp, port, TimestampRecord, port);

SAME_RECORD(norvad3_clock_set, ClockSetRecord);
SAME_FIELD(norvad3_clock_set, header, ClockSetRecord, header);
SAME_FIELD(norvad3_clock_set, offset, ClockSetRecord, value);

SAME_RECORD(norvad3_clock_steer, ClockSteerRecord);
SAME_FIELD(norvad3_clock_steer, header, ClockSteerRecord, header);
SAME_FIELD(norvad3_clock_steer, counts, ClockSteerRecord, value);

SAME_RECORD(norvad3_port_mcast, PortMcastRecord);
SAME_FIELD(norvad3_port_mcast, header, PortMcastRecord, header);
SAME_FIELD(norvad3_port_mcast, add, PortMcastRecord, add);
SAME_FIELD(norvad3_port_mcast, port_mask, PortMcastRecord, portMask);
SAME_FIELD(norvad3_port_mcast, vid, PortMcastRecord, vid);
SAME_FIELD(norvad3_port_mcast, address, PortMcastRecord, address);

SAME_RECORD(norvad3_port_vlan, PortVlanRecord);
SAME_FIELD(norvad3_port_vlan, header, PortVlanRecord, header);
SAME_FIELD(norvad3_port_vlan, state, PortVlanRecord, state);
SAME_FIELD(norvad3_port_vlan, port_mask, PortVlanRecord, portMask);
SAME_FIELD(norvad3_port_vlan, vid, PortVlanRecord, vid);

static_assert(NORVAD3_REQUEST == SIOCDEVPRIVATE && NORVAD3_REQUEST == 0x89F0);
static_assert(NORVAD3_PORTS == portCount && NORVAD3_PORT_LOCAL == localPort && NORVAD3_PORT_CPU == cpuPort);
static_assert(NORVAD3_IFLA_PORT_LINKS == linkAttributePortLinks && linkAttributePortLinks == IFLA_MASTER);
static_assert(bridgeFamily == AF_BRIDGE && netlinkNewLink == RTM_NEWLINK && netlinkGetLink == RTM_GETLINK);

// Each maps what it is given to the other side's, and has no default: a value that is new is a warning here.
constexpr norvad3_command Theirs(SwitchCommand command) {
    switch (command) {
        case SwitchCommand::SWITCH_EGRESS_LIMIT:
            return NORVAD3_EGRESS_LIMIT;
        case SwitchCommand::SWITCH_PTP_TX_TIMESTAMP:
            return NORVAD3_PTP_TX_TIMESTAMP;
        case SwitchCommand::SWITCH_PTP_RX_TIMESTAMP:
            return NORVAD3_PTP_RX_TIMESTAMP;
        case SwitchCommand::SWITCH_PTP_CLOCK_SET:
            return NORVAD3_PTP_CLOCK_SET;
        case SwitchCommand::SWITCH_PTP_CLOCKSTEER:
            return NORVAD3_PTP_CLOCKSTEER;
        case SwitchCommand::SWITCH_PORT_MCAST:
            return NORVAD3_PORT_MCAST;
        case SwitchCommand::SWITCH_PORT_VLAN:
            return NORVAD3_PORT_VLAN;
        case SwitchCommand::SWITCH_ALE_STATUS:
            return NORVAD3_ALE_STATUS;
    }
    return {};
}

constexpr SwitchCommand Ours(norvad3_command command) {
    switch (command) {
        case NORVAD3_EGRESS_LIMIT:
            return SwitchCommand::SWITCH_EGRESS_LIMIT;
        case NORVAD3_PTP_TX_TIMESTAMP:
            return SwitchCommand::SWITCH_PTP_TX_TIMESTAMP;
        case NORVAD3_PTP_RX_TIMESTAMP:
            return SwitchCommand::SWITCH_PTP_RX_TIMESTAMP;
        case NORVAD3_PTP_CLOCK_SET:
            return SwitchCommand::SWITCH_PTP_CLOCK_SET;
        case NORVAD3_PTP_CLOCKSTEER:
            return SwitchCommand::SWITCH_PTP_CLOCKSTEER;
        case NORVAD3_PORT_MCAST:
            return SwitchCommand::SWITCH_PORT_MCAST;
        case NORVAD3_PORT_VLAN:
            return SwitchCommand::SWITCH_PORT_VLAN;
        case NORVAD3_ALE_STATUS:
            return SwitchCommand::SWITCH_ALE_STATUS;
    }
    return {};
}

TEST(DriverHeader, NumbersEveryCommandAsTheDaemonDoes) {
    constexpr std::array<uint32_t, 8> numbers{12, 14, 15, 16, 18, 19, 20, 21};

    for (const uint32_t number : numbers) {
        EXPECT_EQ(static_cast<uint32_t>(Theirs(static_cast<SwitchCommand>(number))), number);
        EXPECT_EQ(static_cast<uint32_t>(Ours(static_cast<norvad3_command>(number))), number);
    }
}

TEST(DriverHeader, NumbersEveryTypeOfTagAsTheDaemonDoes) {
    EXPECT_EQ(static_cast<int>(NORVAD3_TAG_TO_CPU), static_cast<int>(TagType::TO_CPU));
    EXPECT_EQ(static_cast<int>(NORVAD3_TAG_FROM_CPU), static_cast<int>(TagType::FROM_CPU));
    EXPECT_EQ(static_cast<int>(NORVAD3_TAG_TO_SNIFFER), static_cast<int>(TagType::TO_SNIFFER));
    EXPECT_EQ(static_cast<int>(NORVAD3_TAG_FORWARD), static_cast<int>(TagType::FORWARD));
}

}  // namespace
}  // namespace norvad
