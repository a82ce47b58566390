#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "lab/board/driver.h"
#include "lab/board/forwarding_database.h"
#include "lab/board/hardware_clock.h"
#include "lab/board/port_tables.h"
#include "lab/board/ports.h"
#include "lab/board/timestamp_store.h"
#include "lab/common/ethernet_frame.h"
#include "switch/cpu_tag.h"

namespace norvad::board {

// Where a board's frames go.
class BoardWires {
public:
    virtual ~BoardWires() = default;
    // A plain Ethernet frame out of an external port; false when the interface refuses it.
    virtual bool SendOnPort(uint8_t port, std::span<const uint8_t> frame) = 0;
    // A frame with the CPU tag to the CPU interface; false when the interface refuses it.
    virtual bool SendToCpu(std::span<const uint8_t> frame) = 0;
};

struct BoardConfig {
    MacAddress cpuAddress{};          // of the CPU interface; frames to it are handed to the CPU
    uint8_t externalPorts = 2;        // 2..5, numbered from 0; the daemon keeps port 5 to itself, and 6 is the CPU's
    uint64_t clockNs = 0;             // what the hardware clock shows at referenceNs
    int64_t referenceNs = 0;          // when the board is switched on
    int32_t clockErrorPpb = 0;        // how much too fast the oscillator is
    double steeringUnit = 0x1p-38;    // frequency of one count of steering
    uint32_t stampGranularityNs = 1;  // in what steps the clock stamps frames, at least 1
    uint8_t cutTrailerMask = 0;       // ports that cut what stands behind a PTP message on the way out
};

// A small managed switch of a few external ports and one to the CPU, in software: no kernel, no time of its own, one
// thread. Each event brings the instant it happened at, in nanoseconds of a reference that never steps back.
class Board {
public:
    // Throws std::invalid_argument for a board that cannot be built.
    Board(const BoardConfig& config, BoardWires& wires, BoardObserver& observer);

    // A plain Ethernet frame came in at an external port. One that nobody stamped came in at about referenceNs and
    // has no receive stamp.
    void FrameArrived(uint8_t port, std::span<const uint8_t> frame, int64_t referenceNs, bool isStamped = true);

    // A frame that SendOnPort was given began to leave; without this a frame from the CPU has no transmit stamp.
    void FrameSent(uint8_t port, std::span<const uint8_t> frame, int64_t referenceNs);

    // The CPU sent a frame to the switch: it leaves, without its tag, by the port that the tag names.
    void FrameFromCpu(std::span<const uint8_t> frame);

    // A request to the switch driver; 0 or an errno value. A record too short for its command fails with EINVAL.
    int Request(std::span<uint8_t> record, int64_t referenceNs) { return driver.Execute(record, referenceNs); }

    void SetLink(uint8_t port, const PortLink& link);

    // The CPU interface went down: what the daemon programmed and the stamps that wait for it are forgotten, so that no
    // stream flows for a daemon that is no more. The clock runs on as it was last steered.
    void FlushTables();

    uint8_t ExternalPorts() const { return config.externalPorts; }
    const LinkTable& Links() const { return links; }
    const PortCounters& Counters(uint8_t port) const { return counters.at(port); }
    const ForwardingDatabase& Stations() const { return stations; }
    const VlanTable& Vlans() const { return tables.vlans; }
    const EgressLimits& Limits() const { return tables.limits; }
    MulticastTable& Multicasts() { return tables.multicasts; }
    HardwareClock& Clock() { return clock; }
    const HardwareClock& Clock() const { return clock; }
    TimestampStore& Stamps() { return stamps; }

private:
    void Forward(uint8_t port, std::span<const uint8_t> frame, const lab::FrameFields& fields, int64_t referenceNs);
    uint8_t OutsideMask() const { return static_cast<uint8_t>((1 << config.externalPorts) - 1); }
    uint8_t VlanPorts(uint16_t vid) const;
    uint8_t GroupPorts(uint8_t port, size_t length, const lab::FrameFields& fields, int64_t referenceNs);
    void SendToPorts(uint8_t port, uint8_t portMask, std::span<const uint8_t> frame, DropReason otherwise);
    void Trap(uint8_t port, std::span<const uint8_t> frame);
    bool Send(uint8_t port, std::span<const uint8_t> frame);
    void Drop(uint8_t port, DropReason reason) { counters[port].Drop(reason); }
    bool MayPass(uint8_t port) const { return links[port].up && links[port].forwarding; }

    const BoardConfig config;
    BoardWires& wires;
    HardwareClock clock;
    TimestampStore stamps;
    ForwardingDatabase stations;
    DriverTables tables;
    Driver driver;
    LinkTable links;
    std::array<PortCounters, portCount> counters{};
    std::array<uint8_t, receiveBufferSize> buffer;  // one frame on its way to or from the CPU
};

}  // namespace norvad::board
