#include "lab/network/station_node.h"

#include <algorithm>
#include <utility>

#include "base/wire.h"

namespace norvad::network {

namespace {

constexpr size_t tagOffset = offsetof(lab::EthernetHeader, etherType);

}  // namespace

StationNode::StationNode(Network& network, const MacAddress& mac, const station::StationSettings& settings)
    : network(network), mac(mac) {
    station::FramePort& wire = *this;
    station = std::make_unique<station::Station>(settings, network.clock, wire,
                                                 [this](const std::string& line) { lines.push_back(line); });
    network.Add(*this);
    station->Start();
    Refresh();
}

size_t StationNode::Told(const std::string& text) const {
    return static_cast<size_t>(std::count_if(
        lines.begin(), lines.end(), [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

uint64_t StationNode::TakeStreamFrames() {
    return std::exchange(streamFrames, 0);
}

void StationNode::Arrive(uint8_t, std::span<const uint8_t> frame, uint64_t beganNs) {
    Bytes untagged(frame.begin(), frame.end());
    station::ReceivedFrame received;
    received.receiveTimeNs = beganNs;
    const auto tag = Peek<lab::VlanTagBytes>(frame, tagOffset);
    if (tag && tag->etherType == lab::etherTypeVlan) {
        ++streamFrames;
        received.tag = lab::TagOf(tag->control);
        untagged.erase(untagged.begin() + tagOffset, untagged.begin() + tagOffset + sizeof(lab::VlanTagBytes));
    }
    received.bytes = untagged;
    station->Receive(received);
    RunDue();
}

void StationNode::RunDue() {
    station->RunDue();
    Refresh();
}

// A plan that an earlier one has replaced is let pass: followed, it would be replaced by one more of its kind each
// time.
void StationNode::Refresh() {
    const uint64_t dueNs = station->DueNs();
    if (dueNs >= plannedNs) return;
    plannedNs = dueNs;
    network.engine.At(dueNs, [this, dueNs] {
        if (plannedNs != dueNs) return;
        plannedNs = lab::never;
        RunDue();
    });
}

bool StationNode::Send(std::span<const uint8_t> frame) {
    network.Send(*this, 0, frame);
    return true;
}

station::Departure StationNode::SendStamped(std::span<const uint8_t> frame) {
    return {Send(frame), network.clock.Ns()};
}

}  // namespace norvad::network
