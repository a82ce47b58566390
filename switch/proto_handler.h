#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>

#include "base/mac_address.h"
#include "switch/control_options.h"

namespace norvad {

class I2Switch;

// Base of the protocol handlers. The registry hands a handler every frame of its EtherType and tells it of
// every change of a port and of every control request.
class ProtoHandler {
public:
    virtual ~ProtoHandler() = default;

    virtual uint16_t GetEtherType() const = 0;

    // A received frame with its tag, as long as it arrived. A frame that is too short or names a port
    // without a record is dropped without touching state. The bytes are valid until it returns.
    virtual void HandleFrame(std::span<const uint8_t> frame, uint16_t etherType) = 0;

    // A group address to join on the frame socket, or null.
    virtual const MacAddress* GetMulticastAddress() const { return nullptr; }

    virtual void PortUp(uint8_t) {}
    virtual void PortDown(uint8_t) {}
    virtual void PortStpUp(uint8_t) {}
    virtual void PortStpDown(uint8_t) {}
    virtual void PortAvbUp(uint8_t) {}
    virtual void PortAvbDown(uint8_t) {}

    // Called once when the handler is added to the registry.
    virtual void SetSwitch(I2Switch&) {}

    virtual void AddControlOptions(boost::program_options::options_description&) {}
    virtual void HandleControlOptions(const boost::program_options::variables_map&, std::ostream&) {}
    virtual void HandleDaemonControlMessage() {}

    virtual void Notify(uint32_t) {}  // a hook without a caller
};

}  // namespace norvad
