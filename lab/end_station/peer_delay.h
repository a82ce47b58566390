#pragma once

#include <cstdint>
#include <optional>

#include "base/clock.h"
#include "lab/end_station/frame.h"
#include "ptp/ptp_messages.h"

namespace norvad::station {

struct PeerDelaySettings {
    bool answer = true;    // the neighbour's requests
    bool measure = false;  // send requests of our own, once a second
};

// The station's half of gPTP: the peer delay exchange, by which the neighbour finds its port to be AS capable.
// Clocks are not synchronized.
class PeerDelay {
public:
    static constexpr uint64_t requestIntervalNs = 1'000'000'000;

    PeerDelay(const PeerDelaySettings& settings, const Clock& clock, FramePort& port, EventLog log);

    // Takes a frame of the PTP EtherType.
    void Receive(const ReceivedFrame& frame);

    void RunDue();
    uint64_t DueNs() const { return requestDueNs; }

private:
    void Answer(const PTPHeader& request, std::optional<uint64_t> receiveTimeNs);
    void TakeResponse(const PdelayRespMessage& response, std::optional<uint64_t> receiveTimeNs);
    void TakeFollowUp(const PdelayRespFollowUpMessage& followUp);
    template <typename Message>
    std::optional<uint64_t> SendStamped(const Message& message);
    void TellMissingStamp(const char* direction, const PTPHeader& header);
    bool AnswersOurRequest(const PTPHeader& header, const PortIdentity& requester) const;
    PTPHeader HeaderOf(PTPMessage message, uint16_t sequenceId) const;

    PeerDelaySettings settings;
    const Clock& clock;
    FramePort& port;
    EventLog log;
    PortIdentity identity;
    bool hasAnswered = false;
    uint64_t requestDueNs;

    // The exchange under way; the names are those of IEEE 802.1AS, figure 11-1.
    uint16_t sequenceId = 0;
    std::optional<uint64_t> t1;
    std::optional<uint64_t> t2;
    uint64_t t4 = 0;
};

}  // namespace norvad::station
