#pragma once

#include <boost/endian/conversion.hpp>
#include <cstdint>
#include <map>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "base/clock.h"
#include "base/wire.h"
#include "switch/doors.h"
#include "switch/driver_records.h"
#include "tests/support/bytes.h"

namespace norvad::test {

// The two values of a time stamp.
struct Stamps {
    uint64_t first = 0;
    uint64_t second = 0;
};

// A switch driver that does as it is told: it keeps the tables, and the time stamps of the frames it was shown.
class FakeDriverSocket final : public DriverSocket {
public:
    struct Egress {
        uint32_t parameter = 0;
        int32_t limit = 0;
    };
    // Port, message type, sequence id in host order.
    using StampKey = std::tuple<uint8_t, uint8_t, uint16_t>;

    explicit FakeDriverSocket(const Clock& base) : base(base) {}

    MacAddress hardwareAddress{0x02, 0x00, 0x00, 0x00, 0x10, 0x01};
    std::vector<Bytes> records;  // as requested, failed ones too; time-stamp queries are left out
    int failNext = 0;            // so many requests fail
    uint32_t stampTries = 0;     // queries for a time stamp, failed ones too

    std::map<std::pair<uint32_t, MacAddress>, uint32_t> multicast;  // VLAN and address: port mask
    std::map<int32_t, int32_t> vlans;                               // VLAN: port mask
    std::map<uint32_t, Egress> egress;                              // by port
    std::map<StampKey, Stamps> transmitted, arrived;                // time stamps not yet asked for
    uint64_t clockOffsetNs = 0;  // what the hardware clock is ahead of the test's, as it was stepped; wraps
    int32_t steering = 0;

    MacAddress HardwareAddress() const override { return hardwareAddress; }

    bool Request(std::span<uint8_t> record) override {
        const auto command = Command(record);
        const bool isStamp =
            command == SwitchCommand::SWITCH_PTP_TX_TIMESTAMP || command == SwitchCommand::SWITCH_PTP_RX_TIMESTAMP;
        if (isStamp) {
            ++stampTries;
        } else {
            records.push_back(Copy(record));
        }
        if (failNext > 0) {
            --failNext;
            return false;
        }
        return Execute(command, record);
    }

    // Of the hardware clock, now.
    Stamps Read() const {
        const timespec now = base.Monotonic();
        const auto ns = static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
        return {ns + clockOffsetNs, ns + clockOffsetNs};
    }

private:
    static SwitchCommand Command(std::span<const uint8_t> record) {
        const auto header = Peek<CommandHeader>(record);
        return static_cast<SwitchCommand>(header ? header->command.value() : 0);
    }

    bool Execute(SwitchCommand command, std::span<uint8_t> record) {
        switch (command) {
            case SwitchCommand::SWITCH_EGRESS_LIMIT:
                return With<EgressLimitRecord>(record, [this](const EgressLimitRecord& r) {
                    egress[r.port] = {r.parameter, r.limit};
                });
            case SwitchCommand::SWITCH_PTP_TX_TIMESTAMP:
                return Answer(record, transmitted, [](uint16_t id) { return id; });
            case SwitchCommand::SWITCH_PTP_RX_TIMESTAMP:
                return Answer(record, arrived, [](uint16_t id) { return boost::endian::endian_reverse(id); });
            case SwitchCommand::SWITCH_PTP_CLOCK_SET:
                return With<ClockSetRecord>(record, [this](const ClockSetRecord& r) { clockOffsetNs += r.value; });
            case SwitchCommand::SWITCH_PTP_CLOCKSTEER:
                return With<ClockSteerRecord>(record, [this](const ClockSteerRecord& r) { steering = r.value; });
            case SwitchCommand::SWITCH_PORT_MCAST:
                return With<PortMcastRecord>(record, [this](const PortMcastRecord& r) {
                    uint32_t& mask = multicast[{r.vid, r.address}];
                    mask = r.add != 0 ? mask | r.portMask : mask & ~r.portMask;
                });
            case SwitchCommand::SWITCH_PORT_VLAN:
                return With<PortVlanRecord>(record, [this](const PortVlanRecord& r) {
                    int32_t& mask = vlans[r.vid];
                    mask = r.state != 0 ? mask | r.portMask : mask & ~r.portMask;
                });
            case SwitchCommand::SWITCH_ALE_STATUS:
                return true;
        }
        return false;
    }

    template <typename Record, typename Action>
    static bool With(std::span<const uint8_t> bytes, Action action) {
        const auto record = Peek<Record>(bytes);
        if (record) action(*record);
        return record.has_value();
    }

    template <typename HostOrder>
    static bool Answer(std::span<uint8_t> bytes, std::map<StampKey, Stamps>& stamps, HostOrder hostOrder) {
        auto record = Peek<TimestampRecord>(bytes);
        if (!record) return false;
        const auto found = stamps.find({record->port, record->messageType, hostOrder(record->sequenceId)});
        if (found == stamps.end()) return false;
        record->first = found->second.first;
        record->second = found->second.second;
        stamps.erase(found);
        return Put(bytes, 0, *record);
    }

    const Clock& base;
};

}  // namespace norvad::test
