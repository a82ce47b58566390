#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>

#include "base/timer_service.h"
#include "msrp/msrpdb.h"
#include "switch/proto_handler.h"

namespace norvad {

class I4DSASocket;
class I4Switch;

// The stream reservation protocol (IEEE 802.1Q, clause 35) on every port of the bridge. Wires the parts that read the
// neighbours' MRPDUs, carry talkers and listeners between the ports, reserve what they agree on and declare it all to
// the neighbours, and hands each frame, transmit opportunity, indication and control request to its part.
class MSRPHandler final : public ProtoHandler, public MSRPDB {
public:
    // All three outlive the handler.
    MSRPHandler(I4DSASocket& socket, I4Switch& bridge, TimerService& timers);
    ~MSRPHandler() override;

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
    void DeleteAttribute(MRPAttribute& attribute) override;

private:
    struct Parts;

    void mf0();

    std::unique_ptr<Parts> parts;
    ScopedTimer walkTimer;
};

}  // namespace norvad
