#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/file_descriptor.h"
#include "lab/common/clock_mapping.h"
#include "lab/common/frame_stamps.h"

namespace norvad::lab {

// The clock of an interface's card, compared with the reference once a second. While this object lives the card stamps
// PTP frames; after it, the card stamps as it did before.
class InterfaceCardClock final : public CardClock {
public:
    // Null when the card has no such clock or does not let us use it.
    static std::unique_ptr<CardClock> Open(const std::string& interfaceName);

    InterfaceCardClock(const InterfaceCardClock&) = delete;
    InterfaceCardClock& operator=(const InterfaceCardClock&) = delete;
    ~InterfaceCardClock() override;

    int64_t ToReference(int64_t cardNs) override;

private:
    // As the kernel's hwtstamp_config.
    struct Stamping {
        int flags;
        int transmit;
        int receive;
    };

    InterfaceCardClock(const std::string& interfaceName, FileDescriptor device, const Stamping& before);
    static bool Configure(unsigned long request, const std::string& interfaceName, Stamping& stamping);
    void Compare();

    std::string interfaceName;
    FileDescriptor device;
    Stamping before;
    ClockMapping mapping;
    int64_t comparedNs = 0;
};

}  // namespace norvad::lab
