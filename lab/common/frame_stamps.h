#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "lab/common/time.h"

namespace norvad::lab {

// When a frame came in or left; nothing where it was not stamped.
struct FrameStamps {
    std::optional<int64_t> softwareNs{};  // the kernel's, of the system clock
    std::optional<int64_t> hardwareNs{};  // the card's, of its own clock
};

// The clock of a network card that stamps frames itself.
class CardClock {
public:
    virtual ~CardClock() = default;

    // When the card's stamp was taken, on the reference.
    virtual int64_t ToReference(int64_t cardNs) = 0;
};

// Puts the stamps of one port's frames on the reference, whichever way they went. A card gives a frame that leaves
// its own stamp only, one that comes in both.
class StampMapping {
public:
    // card: null where the kernel alone stamps. The reference outlives this.
    StampMapping(ReferenceTime& reference, std::unique_ptr<CardClock> card);

    bool IsByCard() const { return card != nullptr; }

    // The card's stamp where there is one, else the kernel's; nothing where neither stamped the frame.
    std::optional<int64_t> ToReference(const FrameStamps& stamps);

private:
    ReferenceTime& reference;
    std::unique_ptr<CardClock> card;
};

}  // namespace norvad::lab
