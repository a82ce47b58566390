#include "lab/board/board.h"

#include <algorithm>
#include <stdexcept>

#include "base/wire.h"
#include "switch/ports.h"

namespace norvad::board {

using namespace lab;

namespace {

constexpr size_t addressesSize = 2 * sizeof(MacAddress);  // what stands in front of the CPU tag

constexpr uint8_t Bit(uint8_t port) {
    return static_cast<uint8_t>(1 << port);
}

CpuTag ToCpuTag(uint8_t port) {
    return {ETHERTYPE_TAG, 0, static_cast<uint8_t>(TagType::TO_CPU) << 6, static_cast<uint8_t>(port << 3), {0, 0}};
}

const BoardConfig& Checked(const BoardConfig& config) {
    constexpr uint8_t fewest = 2;
    constexpr uint8_t most = 5;
    if (config.externalPorts < fewest || config.externalPorts > most) {
        throw std::invalid_argument("a board has 2 to 5 external ports");
    }
    if (config.stampGranularityNs == 0) throw std::invalid_argument("a clock stamps in steps of at least 1 ns");
    return config;
}

}  // namespace

Board::Board(const BoardConfig& config, BoardWires& wires, BoardObserver& observer)
    : config(Checked(config)),
      wires(wires),
      clock(config.clockNs, config.referenceNs, config.clockErrorPpb, config.steeringUnit, config.stampGranularityNs),
      driver(config.externalPorts, tables, clock, stamps, observer) {}

void Board::FrameArrived(uint8_t port, std::span<const uint8_t> frame, int64_t referenceNs, bool isStamped) {
    if (port >= config.externalPorts) return;
    counters[port].received.Count(frame.size());
    if (!links[port].up) return Drop(port, DropReason::LINK_DOWN);
    const auto fields = ParseFrame(frame);
    if (!fields) return Drop(port, DropReason::MALFORMED);

    const auto event = ParseEventMessage(frame);
    if (event && isStamped) {
        stamps.Keep({Direction::RECEIVE, port, event->messageType, event->sequenceId}, clock.Stamp(referenceNs),
                    referenceNs);
    }
    if (IsControlAddress(fields->destination)) return Trap(port, frame);
    if (!MayPass(port)) return Drop(port, DropReason::BLOCKED);
    stations.Learn(fields->vid, fields->source, port, referenceNs);
    Forward(port, frame, *fields, referenceNs);
}

void Board::FrameSent(uint8_t port, std::span<const uint8_t> frame, int64_t referenceNs) {
    if (port >= config.externalPorts) return;
    const auto event = ParseEventMessage(frame);
    if (!event) return;
    stamps.Keep({Direction::TRANSMIT, port, event->messageType, event->sequenceId}, clock.Stamp(referenceNs),
                referenceNs);
}

void Board::FrameFromCpu(std::span<const uint8_t> frame) {
    counters[cpuPort].received.Count(frame.size());
    const auto header = Peek<TaggedHeader>(frame);
    if (!header || header->tag.tagEtherType != ETHERTYPE_TAG) return Drop(cpuPort, DropReason::UNTAGGED);
    if (header->tag.tagType >> 6 != static_cast<uint8_t>(TagType::FROM_CPU)) {
        return Drop(cpuPort, DropReason::WRONG_TAG);
    }
    const auto port = static_cast<uint8_t>(header->tag.port >> 3);
    if (port >= config.externalPorts) return Drop(cpuPort, DropReason::NO_SUCH_PORT);
    if (frame.size() - sizeof(CpuTag) > buffer.size()) return Drop(cpuPort, DropReason::TOO_LONG);

    const auto rest = frame.subspan(addressesSize + sizeof(CpuTag));
    const auto end = std::copy(rest.begin(), rest.end(), std::copy_n(frame.begin(), addressesSize, buffer.begin()));
    std::span<const uint8_t> plain(buffer.begin(), end);
    if ((config.cutTrailerMask & Bit(port)) != 0) plain = plain.first(LengthWithoutPtpTrailer(plain));
    if (Send(port, plain)) ++counters[cpuPort].forwarded;
}

void Board::SetLink(uint8_t port, const PortLink& link) {
    if (links[port].up && !link.up) stations.ForgetPort(port);
    links[port] = link;
}

void Board::FlushTables() {
    tables.multicasts.Clear();
    tables.vlans.Clear();
    tables.limits.ForgetReservations();
    stamps.Clear();
}

void Board::Forward(uint8_t port, std::span<const uint8_t> frame, const FrameFields& fields, int64_t referenceNs) {
    if (fields.destination == config.cpuAddress) return Trap(port, frame);
    if (IsGroupAddress(fields.destination)) {
        const auto reason = IsStreamAddress(fields.destination) ? DropReason::NO_RESERVATION : DropReason::NOT_A_MEMBER;
        return SendToPorts(port, GroupPorts(port, frame.size(), fields, referenceNs), frame, reason);
    }
    const auto known = stations.Find(fields.vid, fields.destination, referenceNs);
    if (known == port) return Drop(port, DropReason::SAME_PORT);
    const auto wanted = known ? Bit(*known) : OutsideMask();
    SendToPorts(port, VlanPorts(fields.vid) & wanted, frame, DropReason::NOT_A_MEMBER);
}

// An entry of the multicast table alone decides; without one a stream goes nowhere and any other group address to
// the members of the VLAN.
uint8_t Board::GroupPorts(uint8_t port, size_t length, const FrameFields& fields, int64_t referenceNs) {
    auto* entry = tables.multicasts.Find(fields.vid, fields.destination);
    if (entry == nullptr) {
        if (IsStreamAddress(fields.destination)) return 0;
        return VlanPorts(fields.vid);
    }
    if ((entry->portMask & ~Bit(port)) != 0) {
        ++entry->frames;
        entry->rate.Count(length + wireOverhead, referenceNs);
    }
    return entry->portMask;
}

// Untagged and priority-tagged frames belong to no VLAN and are not bound by any.
uint8_t Board::VlanPorts(uint16_t vid) const {
    return vid == 0 ? OutsideMask() : tables.vlans.Members(vid) & OutsideMask();
}

void Board::SendToPorts(uint8_t port, uint8_t portMask, std::span<const uint8_t> frame, DropReason otherwise) {
    portMask = static_cast<uint8_t>(portMask & ~Bit(port));
    if (portMask == 0) return Drop(port, otherwise);
    bool sent = false;
    for (uint8_t to = 0; to < config.externalPorts; ++to) {
        if ((portMask & Bit(to)) == 0) continue;
        if (links[to].up && !links[to].forwarding) {
            Drop(to, DropReason::BLOCKED);
            continue;
        }
        sent |= Send(to, frame);
    }
    if (sent) ++counters[port].forwarded;
    if ((portMask & Bit(cpuPort)) != 0) Trap(port, frame);
}

void Board::Trap(uint8_t port, std::span<const uint8_t> frame) {
    const size_t length = frame.size() + sizeof(CpuTag);
    if (length > buffer.size()) return Drop(port, DropReason::TOO_LONG);
    const auto tag = ToCpuTag(port);
    auto to = std::copy_n(frame.begin(), addressesSize, buffer.begin());
    to = std::ranges::copy(BytesOf(tag), to).out;
    std::copy(frame.begin() + addressesSize, frame.end(), to);
    if (!wires.SendToCpu({buffer.data(), length})) return Drop(cpuPort, DropReason::SEND_FAILED);
    ++counters[port].trapped;
    counters[cpuPort].sent.Count(length);
}

bool Board::Send(uint8_t port, std::span<const uint8_t> frame) {
    if (!links[port].up) {
        Drop(port, DropReason::LINK_DOWN);
        return false;
    }
    if (!wires.SendOnPort(port, frame)) {
        Drop(port, DropReason::SEND_FAILED);
        return false;
    }
    counters[port].sent.Count(frame.size());
    return true;
}

}  // namespace norvad::board
