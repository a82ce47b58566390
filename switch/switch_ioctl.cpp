#include "switch/switch_ioctl.h"

#include <boost/endian/conversion.hpp>
#include <utility>

#include "base/clock.h"
#include "base/log.h"
#include "base/wire.h"
#include "switch/driver_records.h"
#include "switch/i4_ptp.h"

namespace norvad {

namespace {

constexpr int stampTries = 4;

CommandHeader Header(SwitchCommand command) {
    return {static_cast<uint32_t>(command), 0};
}

template <WireRecord Record>
bool Issue(DriverSocket& socket, Record& record) {
    static_assert(sizeof(Record) <= sizeof(CommandBlock));
    CommandBlock block{};
    (void)Put(block, 0, record);
    const bool done = socket.Request(block);
    record = *Peek<Record>(block);
    return done;
}

// Copies both times on success and gives both as missing otherwise.
int Answer(bool found, const TimestampRecord& record, uint64_t& first, uint64_t& second) {
    first = found ? record.first.value() : noTimestamp;
    second = found ? record.second.value() : noTimestamp;
    return found ? 0 : -1;
}

}  // namespace

SwitchIoctl::SwitchIoctl(std::unique_ptr<DriverSocket> socket, Clock& clock)
    : socket(std::move(socket)),
      clock(clock),
      interfaceMac(this->socket->HardwareAddress()),
      derivedMac(NextMac(interfaceMac)) {}

void SwitchIoctl::SetPortMcast(uint32_t portMask, uint32_t vid, const MacAddress& address, bool add) {
    PortMcastRecord record{Header(SwitchCommand::SWITCH_PORT_MCAST), add ? 1U : 0U, portMask, vid, address};
    if (!Issue(*socket, record)) log(LogCategory::IOCTL, 0, "SWITCH_PORT_MCAST: failed to set switch MCAST filter");
}

void SwitchIoctl::SetPortVlan(int32_t portMask, int32_t vid, int32_t state) {
    log(LogCategory::IOCTL, 2, " SwitchIoctl::SetPortVlan mask %02x vlan %d state %d \n",
        static_cast<unsigned>(portMask), vid, state);
    PortVlanRecord record{Header(SwitchCommand::SWITCH_PORT_VLAN), state, portMask, vid};
    if (!Issue(*socket, record)) log(LogCategory::IOCTL, 0, "SWITCH_PORT_VLAN: failed to set switch VLAN membership");
}

void SwitchIoctl::SetEgressLimit(uint32_t port, uint32_t parameter, int32_t limit) {
    log(LogCategory::IOCTL, 2, "SWITCH_EGRESS_LIMIT: port %d -> %d bps\n", static_cast<int32_t>(port), limit);
    EgressLimitRecord record{Header(SwitchCommand::SWITCH_EGRESS_LIMIT), port, parameter, limit};
    if (!Issue(*socket, record)) log(LogCategory::IOCTL, 0, "SWITCH_EGRESS_LIMIT: failed to set hardware egress value");
}

void SwitchIoctl::QueryAleStatus() {
    CommandHeader record = Header(SwitchCommand::SWITCH_ALE_STATUS);
    if (!Issue(*socket, record)) log(LogCategory::IOCTL, 0, "SWITCH_ALE_STATUS: failed to query switch status");
}

// The frame has just been handed to the hardware, so even the first try waits for it to leave.
int SwitchIoctl::GetTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                                uint64_t& second) {
    TimestampRecord record{Header(SwitchCommand::SWITCH_PTP_TX_TIMESTAMP), 0, 0, sequenceId, messageType, port};
    bool found = false;
    for (int tries = 0; tries < stampTries && !found; ++tries) {
        clock.Sleep(1);
        found = Issue(*socket, record);
    }
    if (!found) {
        log(LogCategory::IOCTL, 0,
            "SWITCH_PTP_TX_TIMESTAMP: failed to get hardware time stamp for seq %d msg %d port %d\n",
            record.sequenceId.value(), messageType, port);
    }
    return Answer(found, record, first, second);
}

// The driver compares a receive query with the header of the frame as it arrived, so the sequence id goes in
// network order here, and only here.
int SwitchIoctl::GetRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                                uint64_t& second) {
    const uint16_t swapped = boost::endian::endian_reverse(sequenceId);
    TimestampRecord record{Header(SwitchCommand::SWITCH_PTP_RX_TIMESTAMP), 0, 0, swapped, messageType, port};
    bool found = Issue(*socket, record);
    for (int tries = 1; tries < stampTries && !found; ++tries) {
        clock.Sleep(2);
        found = Issue(*socket, record);
    }
    if (!found) {
        log(LogCategory::IOCTL, 0,
            "SWITCH_PTP_RX_TIMESTAMP: failed to get hardware time stamp for seq %d msg %d port %d\n",
            record.sequenceId.value(), messageType, port);
    }
    return Answer(found, record, first, second);
}

void SwitchIoctl::SetClock(uint64_t value) {
    ClockSetRecord record{Header(SwitchCommand::SWITCH_PTP_CLOCK_SET), value};
    if (!Issue(*socket, record)) log(LogCategory::IOCTL, 0, "SWITCH_PTP_CLOCK_SET: failed to set hardware clock");
}

void SwitchIoctl::SetClockSteering(int32_t value) {
    ClockSteerRecord record{Header(SwitchCommand::SWITCH_PTP_CLOCKSTEER), value};
    if (Issue(*socket, record)) return;
    log(LogCategory::IOCTL, 0, "SWITCH_PTP_CLOCKSTEER: failed to set hardware clock steering");
}

MacAddress NextMac(const MacAddress& base) {
    MacAddress next = base;
    if (++next[5] == 0) ++next[4];
    return next;
}

}  // namespace norvad
