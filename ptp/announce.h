#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "ptp/ptp_instance.h"
#include "ptp/ptp_messages.h"

namespace norvad {

// An Announce as it arrived, with the whole entries of its path trace that are really there.
struct ReceivedAnnounce {
    Framed<AnnounceMessage> frame;
    std::span<const uint8_t> path;  // in the frame's bytes; a multiple of 8 long

    size_t PathCount() const { return path.size() / sizeof(ClockIdentity); }
    ClockIdentity PathEntry(size_t index) const { return *Peek<ClockIdentity>(path, index * sizeof(ClockIdentity)); }
};

// Nothing when the frame does not hold the message up to its path trace.
std::optional<ReceivedAnnounce> ReadAnnounce(std::span<const uint8_t> frame);

// Hands an Announce on to the other ports, one step further and with this clock at the end of its path. One whose
// path has grown beyond what a frame holds goes no further, which is logged when it begins.
void RelayAnnounce(PTPInstance& ptp, uint8_t fromPort, const ReceivedAnnounce& received);

// Announces the local clock while it is grandmaster or bids to be.
class AnnounceSender {
public:
    explicit AnnounceSender(PTPInstance& ptp) : ptp(ptp) {}

    void PTPAnnounceAction();

private:
    PTPInstance& ptp;
    uint16_t sequenceId = 0;
};

}  // namespace norvad
