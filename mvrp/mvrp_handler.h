#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>

#include "mvrp/mvrpdb.h"
#include "switch/proto_handler.h"

namespace norvad {

class I4DSASocket;
class I4Switch;

// The VLAN registration protocol (IEEE 802.1Q, clause 11) on every port of the bridge: what a neighbour registers on a
// port makes the port a member of the VLAN and is declared on the other ports. Wires the parts that do so and hands
// each frame, transmit opportunity, indication and control request to its part.
class MVRPHandler final : public ProtoHandler, public MVRPDB {
public:
    // All three outlive the handler.
    MVRPHandler(I4DSASocket& socket, I4Switch& bridge, TimerService& timers);
    ~MVRPHandler() override;

    uint16_t GetEtherType() const override;
    void HandleFrame(std::span<const uint8_t> frame, uint16_t etherType) override;

    void PortUp(uint8_t port) override;
    void PortDown(uint8_t port) override;
    void PortStpUp(uint8_t port) override;
    void PortStpDown(uint8_t port) override;
    void PortAvbUp(uint8_t port) override;
    void PortAvbDown(uint8_t port) override;

    void AddControlOptions(boost::program_options::options_description& options) override;
    void HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) override;
    void HandleDaemonControlMessage() override {}

protected:
    void Propagate(MRPAttribute& attribute, Event indication, uint8_t port) override;
    void TransmitPdu(uint8_t port) override;

private:
    struct Parts;

    std::unique_ptr<Parts> parts;
};

}  // namespace norvad
