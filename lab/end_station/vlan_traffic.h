#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "base/clock.h"
#include "lab/end_station/frame.h"
#include "lab/end_station/stream_traffic.h"

namespace norvad::station {

// Frames to everybody in a VLAN, by which it shows who is in it. Each is a stream frame without a reservation: to the
// broadcast address, with priority 0, in a stream named after the sender's address and the VLAN.
class VlanTraffic {
public:
    static constexpr size_t mostReceivers = 64;  // further senders are not counted

    // Sends framesPerSecond, above 0, into each VLAN of vids (1..4094) from Start to Stop. The clock and the port
    // outlive this.
    VlanTraffic(const std::vector<uint16_t>& vids, uint32_t framesPerSecond, const Clock& clock, FramePort& port,
                EventLog log);

    void Start();
    void Stop();

    // True for stream frames to everybody.
    static bool IsVlanFrame(const ReceivedFrame& frame);
    void Receive(const ReceivedFrame& frame);

    void RunDue();
    uint64_t DueNs() const;
    void LogCounts() const;

private:
    StreamReceiver* ReceiverOf(const StreamID& id);

    std::deque<StreamSender> senders;  // one for each VLAN
    StreamReceivers receivers;
};

}  // namespace norvad::station
