#include "lab/common/frame_stamps.h"

#include <utility>

namespace norvad::lab {

StampMapping::StampMapping(ReferenceTime& reference, std::unique_ptr<CardClock> card)
    : reference(reference), card(std::move(card)) {}

std::optional<int64_t> StampMapping::ToReference(const FrameStamps& stamps) {
    if (card && stamps.hardwareNs) return card->ToReference(*stamps.hardwareNs);
    if (!stamps.softwareNs) return {};
    return reference.FromSystem(*stamps.softwareNs);
}

}  // namespace norvad::lab
