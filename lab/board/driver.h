#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "lab/board/board_observer.h"
#include "lab/board/hardware_clock.h"
#include "lab/board/port_tables.h"
#include "lab/board/timestamp_store.h"
#include "switch/driver_records.h"

namespace norvad::board {

struct DriverTables {
    VlanTable vlans;
    MulticastTable multicasts;
    EgressLimits limits;
};

// The size of a command's record, with which its caller reserves the memory; nothing for an unknown command.
std::optional<size_t> RecordSize(uint32_t command);

// The switch driver: carries out command records (switch/driver_records.h).
class Driver {
public:
    Driver(uint8_t externalPorts, DriverTables& tables, HardwareClock& clock, TimestampStore& stamps,
           BoardObserver& observer);

    // 0 or an errno value: EINVAL for a record shorter than its command's or an argument out of range, EOPNOTSUPP
    // for an unknown command, ENOSPC for a full table, EAGAIN for a stamp that is not there. The record is
    // changed only by a time-stamp query that succeeds.
    int Execute(std::span<uint8_t> record, int64_t referenceNs);

private:
    int SetEgressLimit(const EgressLimitRecord& record);
    int QueryTimestamp(std::span<uint8_t> bytes, Direction direction, int64_t referenceNs);
    int StepClock(const ClockSetRecord& record, int64_t referenceNs);
    int SteerClock(const ClockSteerRecord& record, int64_t referenceNs);
    int SetMulticast(const PortMcastRecord& record);
    int SetVlan(const PortVlanRecord& record);
    int ReportStatus();

    const uint8_t externalPorts;
    DriverTables& tables;
    HardwareClock& clock;
    TimestampStore& stamps;
    BoardObserver& observer;
};

}  // namespace norvad::board
