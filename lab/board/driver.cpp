#include "lab/board/driver.h"

#include <fmt/format.h>

#include <boost/endian/conversion.hpp>
#include <cerrno>

#include "base/wire.h"
#include "lab/board/ports.h"
#include "lab/common/ethernet_frame.h"

namespace norvad::board {

using namespace lab;

namespace {

constexpr uint32_t vidLimit = 4096;

bool IsPortMask(uint32_t mask) {
    return mask <= allPorts;
}

}  // namespace

std::optional<size_t> RecordSize(uint32_t command) {
    switch (static_cast<SwitchCommand>(command)) {
        case SwitchCommand::SWITCH_EGRESS_LIMIT:
            return sizeof(EgressLimitRecord);
        case SwitchCommand::SWITCH_PTP_TX_TIMESTAMP:
        case SwitchCommand::SWITCH_PTP_RX_TIMESTAMP:
            return sizeof(TimestampRecord);
        case SwitchCommand::SWITCH_PTP_CLOCK_SET:
            return sizeof(ClockSetRecord);
        case SwitchCommand::SWITCH_PTP_CLOCKSTEER:
            return sizeof(ClockSteerRecord);
        case SwitchCommand::SWITCH_PORT_MCAST:
            return sizeof(PortMcastRecord);
        case SwitchCommand::SWITCH_PORT_VLAN:
            return sizeof(PortVlanRecord);
        case SwitchCommand::SWITCH_ALE_STATUS:
            return sizeof(CommandHeader);
    }
    return {};
}

Driver::Driver(uint8_t externalPorts, DriverTables& tables, HardwareClock& clock, TimestampStore& stamps,
               BoardObserver& observer)
    : externalPorts(externalPorts), tables(tables), clock(clock), stamps(stamps), observer(observer) {}

int Driver::Execute(std::span<uint8_t> record, int64_t referenceNs) {
    const auto header = Peek<CommandHeader>(record);
    if (!header) return EINVAL;
    const auto size = RecordSize(header->command);
    if (!size) return EOPNOTSUPP;
    if (record.size() < *size) return EINVAL;

    switch (static_cast<SwitchCommand>(header->command.value())) {
        case SwitchCommand::SWITCH_EGRESS_LIMIT:
            return SetEgressLimit(*Peek<EgressLimitRecord>(record));
        case SwitchCommand::SWITCH_PTP_TX_TIMESTAMP:
            return QueryTimestamp(record, Direction::TRANSMIT, referenceNs);
        case SwitchCommand::SWITCH_PTP_RX_TIMESTAMP:
            return QueryTimestamp(record, Direction::RECEIVE, referenceNs);
        case SwitchCommand::SWITCH_PTP_CLOCK_SET:
            return StepClock(*Peek<ClockSetRecord>(record), referenceNs);
        case SwitchCommand::SWITCH_PTP_CLOCKSTEER:
            return SteerClock(*Peek<ClockSteerRecord>(record), referenceNs);
        case SwitchCommand::SWITCH_PORT_MCAST:
            return SetMulticast(*Peek<PortMcastRecord>(record));
        case SwitchCommand::SWITCH_PORT_VLAN:
            return SetVlan(*Peek<PortVlanRecord>(record));
        case SwitchCommand::SWITCH_ALE_STATUS:
            return ReportStatus();
    }
    return EOPNOTSUPP;
}

int Driver::SetEgressLimit(const EgressLimitRecord& record) {
    if (record.port >= portCount) return EINVAL;
    const auto port = static_cast<uint8_t>(record.port);
    if (!tables.limits.Set(port, record.parameter, record.limit)) return ENOSPC;
    observer.Event(fmt::format("egress limit port {} parameter {} limit {}", port, record.parameter.value(),
                               record.limit.value()));
    return 0;
}

// The sequence id of a receive query stands in the record as it stood in the message's header, that of a transmit
// query as a number. Both values of the answer are read from the one clock.
int Driver::QueryTimestamp(std::span<uint8_t> bytes, Direction direction, int64_t referenceNs) {
    auto record = *Peek<TimestampRecord>(bytes);
    if (record.port >= externalPorts) return EINVAL;
    const uint16_t sequenceId = direction == Direction::TRANSMIT
                                    ? record.sequenceId.value()
                                    : boost::endian::endian_reverse(record.sequenceId.value());
    const auto messageType = static_cast<uint8_t>(record.messageType & 0x0F);
    const auto stamp = stamps.Take({direction, record.port, messageType, sequenceId}, referenceNs);
    if (!stamp) {
        observer.Event(fmt::format("no {} stamp port {} type {} sequence {}",
                                   direction == Direction::TRANSMIT ? "transmit" : "receive", record.port, messageType,
                                   sequenceId));
        return EAGAIN;
    }
    record.first = *stamp;
    record.second = *stamp;
    Put(bytes, 0, record);
    return 0;
}

int Driver::StepClock(const ClockSetRecord& record, int64_t referenceNs) {
    const auto offsetNs = static_cast<int64_t>(record.value.value());
    clock.Step(offsetNs, referenceNs);
    observer.Event(fmt::format("clock step {} ns", offsetNs));
    return 0;
}

int Driver::SteerClock(const ClockSteerRecord& record, int64_t referenceNs) {
    clock.Steer(record.value, referenceNs);
    observer.Event(fmt::format("clock steer {}", record.value.value()));
    return 0;
}

int Driver::SetMulticast(const PortMcastRecord& record) {
    if (record.add > 1 || !IsPortMask(record.portMask) || record.vid >= vidLimit) return EINVAL;
    if (!IsGroupAddress(record.address)) return EINVAL;
    const auto vid = static_cast<uint16_t>(record.vid);
    const auto mask = static_cast<uint8_t>(record.portMask);
    if (record.add == 0) {
        tables.multicasts.Remove(vid, record.address, mask);
    } else if (!tables.multicasts.Add(vid, record.address, mask)) {
        return ENOSPC;
    }
    observer.Event(fmt::format("multicast {} port mask 0x{:02x} vid {} {}", record.add == 0 ? "remove" : "add", mask,
                               vid, AddressText(record.address)));
    return 0;
}

int Driver::SetVlan(const PortVlanRecord& record) {
    const auto state = static_cast<uint32_t>(record.state);
    const auto portMask = static_cast<uint32_t>(record.portMask);
    const auto vlan = static_cast<uint32_t>(record.vid);
    if (state > 1 || !IsPortMask(portMask) || vlan >= vidLimit) return EINVAL;
    const auto vid = static_cast<uint16_t>(vlan);
    const auto mask = static_cast<uint8_t>(portMask);
    if (state == 1) {
        tables.vlans.Add(vid, mask);
    } else {
        tables.vlans.Remove(vid, mask);
    }
    observer.Event(fmt::format("vlan {} port mask 0x{:02x} vid {}", state == 1 ? "add" : "remove", mask, vid));
    return 0;
}

int Driver::ReportStatus() {
    observer.Event(fmt::format("status asked: {} VLANs, {} multicast addresses", tables.vlans.Entries().size(),
                               tables.multicasts.Size()));
    return 0;
}

}  // namespace norvad::board
