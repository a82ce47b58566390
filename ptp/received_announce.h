#pragma once

#include <optional>
#include <span>

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

}  // namespace norvad
