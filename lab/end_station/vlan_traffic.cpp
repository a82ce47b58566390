#include "lab/end_station/vlan_traffic.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/endian/conversion.hpp>
#include <span>
#include <string>
#include <utility>

#include "base/wire.h"
#include "lab/common/time.h"
#include "lab/end_station/text.h"

namespace norvad::station {

using namespace lab;

namespace {

constexpr MacAddress everybody{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

StreamID IdOf(const MacAddress& sender, uint16_t vid) {
    StreamID id{};
    boost::endian::store_big_u16(std::ranges::copy(sender, id.begin()).out, vid);
    return id;
}

uint16_t VidOf(const StreamID& id) {
    return boost::endian::load_big_u16(&id[sizeof(MacAddress)]);
}

std::string NameOf(const StreamID& id) {
    return fmt::format("vlan {} from {}", VidOf(id), HexText(std::span(id).first(sizeof(MacAddress))));
}

}  // namespace

VlanTraffic::VlanTraffic(const std::vector<uint16_t>& vids, uint32_t framesPerSecond, const Clock& clock,
                         FramePort& port, EventLog log)
    : receivers(clock, log) {
    for (const uint16_t vid : vids) {
        TalkerSettings talker;
        talker.id = IdOf(port.Address(), vid);
        talker.destination = everybody;
        talker.tag = {vid, 0};
        senders.emplace_back(talker, framesPerSecond, false, clock, port, log, NameOf(talker.id));
    }
}

void VlanTraffic::Start() {
    for (auto& sender : senders) sender.SetWanted(true);
}

void VlanTraffic::Stop() {
    for (auto& sender : senders) sender.Stop();
}

bool VlanTraffic::IsVlanFrame(const ReceivedFrame& frame) {
    const auto header = Peek<EthernetHeader>(frame.bytes);
    return header && header->destination == everybody;
}

void VlanTraffic::Receive(const ReceivedFrame& frame) {
    const auto received = ReadStreamFrame(frame.bytes);
    if (!received) return;
    auto* const receiver = ReceiverOf(received->streamId);
    if (receiver == nullptr) return;
    receiver->Receive(received->counter, frame.tag, VlanTag{VidOf(received->streamId), 0});
}

void VlanTraffic::RunDue() {
    for (auto& sender : senders) sender.RunDue();
    receivers.RunDue();
}

uint64_t VlanTraffic::DueNs() const {
    uint64_t dueNs = receivers.DueNs();
    for (const auto& sender : senders) dueNs = std::min(dueNs, sender.DueNs());
    return dueNs;
}

void VlanTraffic::LogCounts() const {
    for (const auto& sender : senders) sender.LogCount();
    receivers.LogCounts();
}

// A sender is known from its first frame on.
StreamReceiver* VlanTraffic::ReceiverOf(const StreamID& id) {
    if (auto* const known = receivers.Find(id)) return known;
    if (receivers.Size() == mostReceivers) return nullptr;
    return &receivers.Add(id, NameOf(id));
}

}  // namespace norvad::station
