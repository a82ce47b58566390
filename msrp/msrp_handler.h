#pragma once

#include <cstdint>
#include <span>

#include "base/timer_service.h"
#include "msrp/listener_propagation.h"
#include "msrp/msrp_control.h"
#include "msrp/msrp_receiver.h"
#include "msrp/msrp_transmitter.h"
#include "msrp/msrpdb.h"
#include "msrp/reservation.h"
#include "msrp/talker_propagation.h"
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
    void mf0();

    Reservations reservations;
    TalkerPropagation talkers;
    ListenerPropagation listeners;
    MSRPReceiver receiver;
    MSRPTransmitter transmitter;
    MSRPControl control;
    ScopedTimer walkTimer;
};

}  // namespace norvad
