#include "mvrp/mvrp_handler.h"

#include "base/ethertypes.h"
#include "base/log.h"
#include "mvrp/mvrp_control.h"
#include "mvrp/mvrp_receiver.h"
#include "mvrp/mvrp_transmitter.h"
#include "mvrp/vlan_propagation.h"
#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

struct MVRPHandler::Parts {
    Parts(MVRPDB& database, I4DSASocket& socket, I4Switch& bridge)
        : vlans(database, socket, bridge), receiver(database), transmitter(database, socket), control(database) {}

    VlanPropagation vlans;
    MVRPReceiver receiver;
    MVRPTransmitter transmitter;
    MVRPControl control;
};

MVRPHandler::MVRPHandler(I4DSASocket& socket, I4Switch& bridge, TimerService& timers)
    : MVRPDB(timers, socket.GetMaxPorts()), parts(std::make_unique<Parts>(*this, socket, bridge)) {}

MVRPHandler::~MVRPHandler() = default;

uint16_t MVRPHandler::GetEtherType() const {
    return ETHERTYPE_MVRP;
}

void MVRPHandler::HandleFrame(std::span<const uint8_t> frame, uint16_t) {
    const auto header = Peek<TaggedHeader>(frame);
    const auto port = TaggedPort(frame);
    if (!header || !port || *port >= PortCount() || header->destination != mvrpGroupAddress) return;
    parts->receiver.Receive({*port, frame.subspan(taggedHeaderSize)});
}

void MVRPHandler::PortUp(uint8_t port) {
    log(LogCategory::MVRP, 1, "[SW-MVRP] port %d up\n", port);
    ApplyToPort(port, Event::REDECLARE);
    for (uint8_t other = 0; other < PortCount(); ++other) {
        if (other != port) ApplyToPort(other, Event::REPROPAGATE);
    }
}

void MVRPHandler::PortDown(uint8_t port) {
    log(LogCategory::MVRP, 1, "[SW-MVRP] port %d down\n", port);
    ApplyToPort(port, Event::FLUSH);
}

void MVRPHandler::PortStpUp(uint8_t port) {
    log(LogCategory::MVRP, 1, "[SW-MVRP] port %d STP up\n", port);
}

void MVRPHandler::PortStpDown(uint8_t port) {
    log(LogCategory::MVRP, 1, "[SW-MVRP] port %d STP down\n", port);
}

void MVRPHandler::PortAvbUp(uint8_t port) {
    log(LogCategory::MVRP, 1, "[SW-MVRP] port %d AVB up\n", port);
}

void MVRPHandler::PortAvbDown(uint8_t port) {
    log(LogCategory::MVRP, 1, "[SW-MVRP] port %d AVB down\n", port);
}

void MVRPHandler::AddControlOptions(boost::program_options::options_description& options) {
    MVRPControl::AddOptions(options);
}

void MVRPHandler::HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    parts->control.HandleOptions(values, answer);
}

void MVRPHandler::Propagate(MRPAttribute& attribute, Event indication, uint8_t) {
    if (attribute.type != Vlan::attributeType) {
        log(LogCategory::MVRP, 0, "Propagate request for unknown attribute type %d\n", attribute.type);
        return;
    }
    parts->vlans.Propagate(static_cast<Vlan&>(attribute), indication);
}

void MVRPHandler::TransmitPdu(uint8_t port) {
    parts->transmitter.Transmit(port);
}

}  // namespace norvad
