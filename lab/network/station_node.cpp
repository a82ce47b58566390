#include "lab/network/station_node.h"

#include <algorithm>
#include <utility>

#include "base/wire.h"

namespace norvad::network {

namespace {

constexpr size_t tagOffset = offsetof(lab::EthernetHeader, etherType);

// The frame with its tag beside it.
struct UntaggedFrame {
    explicit UntaggedFrame(std::span<const uint8_t> frame) : bytes(frame.begin(), frame.end()) {
        const auto bytesOfTag = Peek<lab::VlanTagBytes>(frame, tagOffset);
        if (!bytesOfTag || bytesOfTag->etherType != lab::etherTypeVlan) return;
        tag = lab::TagOf(bytesOfTag->control);
        bytes.erase(bytes.begin() + tagOffset, bytes.begin() + tagOffset + sizeof(lab::VlanTagBytes));
    }

    Bytes bytes;
    std::optional<lab::VlanTag> tag;
};

void TellStreamFrame(const std::function<void(const station::ReceivedStreamFrame&)>& observer, const Bytes& untagged) {
    if (!observer) return;
    if (const auto stream = station::ReadStreamFrame(untagged)) observer(*stream);
}

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
    const UntaggedFrame untagged(frame);
    if (untagged.tag) ++streamFrames;
    TellStreamFrame(onReceived, untagged.bytes);
    station->Receive({untagged.bytes, untagged.tag, beganNs});
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
    if (onSent) TellStreamFrame(onSent, UntaggedFrame(frame).bytes);
    return network.Send(*this, 0, frame);
}

station::Departure StationNode::SendStamped(std::span<const uint8_t> frame) {
    return {true, network.SendNext(*this, 0, frame)};
}

}  // namespace norvad::network
