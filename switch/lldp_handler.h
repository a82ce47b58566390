#pragma once

#include "base/ethertypes.h"
#include "switch/proto_handler.h"

namespace norvad {

// Consumes the LLDP frames that the switch traps to the CPU.
class LLDPHandler final : public ProtoHandler {
public:
    uint16_t GetEtherType() const override { return ETHERTYPE_LLDP; }
    void HandleFrame(std::span<const uint8_t> frame, uint16_t etherType) override;
};

}  // namespace norvad
