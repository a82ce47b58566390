#include "ptp/received_announce.h"

#include <algorithm>

namespace norvad {

std::optional<ReceivedAnnounce> ReadAnnounce(std::span<const uint8_t> frame) {
    const auto fixed = Take<Framed<AnnounceMessage>>(frame);
    if (!fixed) return {};
    const size_t arrived = std::min<size_t>(fixed->message.lengthField, frame.size());
    return ReceivedAnnounce{*fixed, frame.first(arrived - arrived % sizeof(ClockIdentity))};
}

}  // namespace norvad
