#pragma once

#include <cstdint>

namespace norvad {

// The switch as its socket side sees it.
class I2Switch {
public:
    virtual ~I2Switch() = default;

    virtual void FrameSocketEvent() = 0;  // a hook; the switch does nothing on it

    // The 6 bytes that every frame sent carries as source.
    virtual const uint8_t* GetMacAddress() const = 0;
};

}  // namespace norvad
