#include "lab/end_station/station.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/endian/conversion.hpp>
#include <string>
#include <utility>

#include "base/ethertypes.h"
#include "base/wire.h"
#include "lab/common/time.h"
#include "lab/end_station/text.h"

namespace norvad::station {

namespace {

// Stations differ in when they send LeaveAll; one station does it the same way each time.
uint32_t SeedOf(const MacAddress& address) {
    return boost::endian::load_big_u32(address.data() + 2);
}

}  // namespace

Station::Station(const StationSettings& settings, const Clock& clock, FramePort& port, EventLog log)
    : settings(settings),
      port(port),
      log(std::move(log)),
      reservations(
          clock, SeedOf(port.Address()) ^ settings.seed,
          [this](const auto& application, auto pdu) { SendPdu(application, pdu); }, this->log),
      vlanMember(
          clock, ~SeedOf(port.Address()) ^ settings.seed,
          [this](const auto& application, auto pdu) { SendPdu(application, pdu); }, this->log),
      peerDelay(settings.peerDelay, clock, port, this->log),
      receivers(clock, this->log),
      vlanTraffic(settings.vlanFrames, settings.framesPerSecond, clock, port, this->log) {
    for (const auto& talker : settings.talkers) {
        senders.emplace_back(talker, settings.framesPerSecond, settings.eager, clock, port, this->log);
    }
    for (const auto& listener : settings.listeners) receivers.Add(listener.id);
}

void Station::Start() {
    reservations.DeclareDomains();
    DeclareTalkers();
    vlanTraffic.Start();
    if (settings.hold) return;
    DeclareListeners();
    DeclareVlans();
}

void Station::Receive(const ReceivedFrame& frame) {
    const auto header = Peek<EthernetHeader>(frame.bytes);
    if (!header) return;
    const auto payload = frame.bytes.subspan(sizeof(EthernetHeader));
    switch (header->etherType) {
        case ETHERTYPE_MSRP:
            return reservations.Participant().Receive(payload);
        case ETHERTYPE_MVRP:
            return vlanMember.Participant().Receive(payload);
        case ETHERTYPE_PTP2:
            return peerDelay.Receive(frame);
        case etherTypeAvtp:
            return ReceiveStreamFrame(frame);
    }
}

void Station::RunDue() {
    reservations.Participant().RunDue();
    vlanMember.Participant().RunDue();
    peerDelay.RunDue();
    for (size_t i = 0; i < senders.size() && !isEnding; ++i) {
        senders[i].SetWanted(talks && reservations.HasReadyListener(settings.talkers[i].id));
        senders[i].RunDue();
    }
    receivers.RunDue();
    vlanTraffic.RunDue();
}

uint64_t Station::DueNs() const {
    uint64_t dueNs = std::min({reservations.Participant().DueNs(), vlanMember.Participant().DueNs(), peerDelay.DueNs(),
                               receivers.DueNs(), vlanTraffic.DueNs()});
    for (const auto& sender : senders) dueNs = std::min(dueNs, sender.DueNs());
    return dueNs;
}

void Station::WithdrawTalkers() {
    talks = false;
    for (auto& sender : senders) sender.Stop();
    for (const auto& talker : settings.talkers) reservations.Withdraw(talker);
}

void Station::DeclareTalkers() {
    talks = true;
    for (const auto& talker : settings.talkers) reservations.Declare(talker);
}

void Station::WithdrawListeners() {
    for (const auto& listener : settings.listeners) reservations.Withdraw(listener);
}

void Station::DeclareListeners() {
    for (const auto& listener : settings.listeners) reservations.Declare(listener);
}

void Station::WithdrawVlans() {
    vlanMember.WithdrawAll();
}

void Station::DeclareVlans() {
    for (const uint16_t vid : settings.vlans) vlanMember.Declare(vid);
}

void Station::WithdrawAll() {
    isEnding = true;
    for (auto& sender : senders) sender.Stop();
    vlanTraffic.Stop();
    reservations.WithdrawAll();
    vlanMember.WithdrawAll();
}

bool Station::HasUnsent() const {
    return reservations.Participant().HasUnsent() || vlanMember.Participant().HasUnsent();
}

void Station::LogCounts() const {
    for (const auto& sender : senders) sender.LogCount();
    receivers.LogCounts();
    vlanTraffic.LogCounts();
    if (otherStreamFrames > 0) log(fmt::format("received of other streams {} frames", otherStreamFrames));
}

void Station::ReceiveStreamFrame(const ReceivedFrame& frame) {
    if (VlanTraffic::IsVlanFrame(frame)) return vlanTraffic.Receive(frame);
    const auto stream = ReadStreamFrame(frame.bytes);
    if (!stream) return;
    if (auto* const receiver = receivers.Find(stream->streamId)) {
        return receiver->Receive(stream->counter, frame.tag, reservations.TagOf(stream->streamId));
    }
    if (otherStreamFrames++ == 0) log("unexpected stream frame " + HexText(stream->streamId));
}

void Station::SendPdu(const MrpApplication& application, std::span<const uint8_t> pdu) {
    (void)port.Send(ControlFrame(application.group, port.Address(), application.etherType, pdu).Bytes());
}

}  // namespace norvad::station
