#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/file_descriptor.h"
#include "lab/common/clock_mapping.h"

namespace norvad::lab {

// The clock of a network card that stamps frames itself. While this object lives the card stamps PTP frames; after
// it, the card stamps as it did before.
class CardClock {
public:
    // Null when the card has no such clock or does not let us use it.
    static std::unique_ptr<CardClock> Open(const std::string& interfaceName);

    CardClock(const CardClock&) = delete;
    CardClock& operator=(const CardClock&) = delete;
    ~CardClock();

    // When the card's stamp was taken, on the board's reference. Compares the two clocks once a second.
    int64_t ToReference(int64_t cardNs);

private:
    // As the kernel's hwtstamp_config.
    struct Stamping {
        int flags;
        int transmit;
        int receive;
    };

    CardClock(const std::string& interfaceName, FileDescriptor device, const Stamping& before);
    static bool Configure(unsigned long request, const std::string& interfaceName, Stamping& stamping);
    void Compare();

    std::string interfaceName;
    FileDescriptor device;
    Stamping before;
    ClockMapping mapping;
    int64_t comparedNs = 0;
};

}  // namespace norvad::lab
