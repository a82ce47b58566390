#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "base/clock.h"
#include "lab/end_station/frame.h"
#include "lab/end_station/peer_delay.h"
#include "lab/end_station/reservations.h"
#include "lab/end_station/stream_traffic.h"
#include "lab/end_station/vlan_member.h"
#include "lab/end_station/vlan_traffic.h"

namespace norvad::station {

struct StationSettings {
    std::vector<TalkerSettings> talkers;
    std::vector<ListenerSettings> listeners;
    std::vector<uint16_t> vlans;       // to be a member of
    std::vector<uint16_t> vlanFrames;  // to send frames into, as a member or not
    uint32_t framesPerSecond = 100;    // of every talker and into every VLAN
    bool eager = false;                // send stream frames also without a ready listener
    bool hold = false;                 // listeners and VLANs are declared only when their Declare is called
    PeerDelaySettings peerDelay;
    uint32_t seed = 0;  // of when it sends LeaveAll, besides its address
};

// An AVB end station on one port. It is handed frames and the time; whoever owns it waits for either.
class Station {
public:
    // The clock and the port outlive the station.
    Station(const StationSettings& settings, const Clock& clock, FramePort& port, EventLog log);
    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;

    void Start();
    void Receive(const ReceivedFrame& frame);
    void RunDue();
    uint64_t DueNs() const;  // when RunDue has something to do next, on the monotonic clock

    void WithdrawTalkers();  // their frames end too
    void DeclareTalkers();
    void WithdrawListeners();
    void DeclareListeners();
    void WithdrawVlans();
    void DeclareVlans();
    void WithdrawAll();      // ends all other frames too
    bool HasUnsent() const;  // declarations or leaves that wait for their PDU
    void LogCounts() const;

    const Reservations& Streams() const { return reservations; }

private:
    void ReceiveStreamFrame(const ReceivedFrame& frame);
    void SendPdu(const MrpApplication& application, std::span<const uint8_t> pdu);

    StationSettings settings;
    FramePort& port;
    EventLog log;
    Reservations reservations;
    VlanMember vlanMember;
    PeerDelay peerDelay;
    std::deque<StreamSender> senders;  // one for each talker
    StreamReceivers receivers;
    VlanTraffic vlanTraffic;
    uint64_t otherStreamFrames = 0;
    bool talks = false;  // talkers are declared
    bool isEnding = false;
};

}  // namespace norvad::station
