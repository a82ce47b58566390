#include "msrp/msrp_handler.h"

#include <cassert>

#include "base/ethertypes.h"
#include "base/log.h"
#include "base/mac_address.h"
#include "msrp/listener_propagation.h"
#include "msrp/msrp_control.h"
#include "msrp/msrp_receiver.h"
#include "msrp/msrp_transmitter.h"
#include "msrp/reservation.h"
#include "msrp/talker_propagation.h"
#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"
#include "switch/i4_switch.h"

namespace norvad {
namespace {

constexpr uint32_t walkIntervalMs = 1000;

// The SR classes that every port declares.
constexpr uint8_t classAId = 6, classAPriority = 3;
constexpr uint8_t classBId = 5, classBPriority = 2;
constexpr uint16_t classVid = 2;

}  // namespace

struct MSRPHandler::Parts {
    Parts(MSRPDB& database, I4DSASocket& socket, I4Switch& bridge, const MacAddress& switchAddress)
        : reservations(bridge),
          talkers(database, socket, switchAddress),
          listeners(database, socket, reservations),
          receiver(database, switchAddress),
          transmitter(database, socket),
          control(database) {}

    Reservations reservations;
    TalkerPropagation talkers;
    ListenerPropagation listeners;
    MSRPReceiver receiver;
    MSRPTransmitter transmitter;
    MSRPControl control;
};

MSRPHandler::MSRPHandler(I4DSASocket& socket, I4Switch& bridge, TimerService& timers)
    : MSRPDB(timers, socket.GetMaxPorts()),
      parts(std::make_unique<Parts>(*this, socket, bridge, MacAddressAt(bridge.GetMacAddress()))),
      walkTimer(Every(timers, walkIntervalMs, 0, [this](uint32_t) { mf0(); })) {}

MSRPHandler::~MSRPHandler() = default;

uint16_t MSRPHandler::GetEtherType() const {
    return ETHERTYPE_MSRP;
}

void MSRPHandler::HandleFrame(std::span<const uint8_t> frame, uint16_t) {
    const auto port = TaggedPort(frame);
    if (!port || *port >= PortCount()) return;
    parts->receiver.Receive({*port, frame.subspan(taggedHeaderSize)});
}

void MSRPHandler::PortUp(uint8_t port) {
    log(LogCategory::MSRP, 1, "[SW-MSRP] port %d up\n", port);
    AddDomain({classBId, classBPriority, classVid}, Event::NEW, port);
    AddDomain({classAId, classAPriority, classVid}, Event::NEW, port);
}

// A flushed record declares nothing any more, so it has no sources either: what is registered elsewhere is declared
// here again when the port is back.
void MSRPHandler::PortDown(uint8_t port) {
    log(LogCategory::MSRP, 1, "[SW-MSRP] port %d down\n", port);
    ApplyToPort(port, Event::FLUSH);
    for (uint8_t type = TALKER_ADVERTISE; type <= LISTENER_VECTOR; ++type) {
        ForEach(port, type, [](MRPAttribute& attribute) { attribute.sources.Clear(); });
    }
}

void MSRPHandler::PortStpUp(uint8_t port) {
    log(LogCategory::MSRP, 1, "[SW-MSRP] port %d STP up\n", port);
}

void MSRPHandler::PortStpDown(uint8_t port) {
    log(LogCategory::MSRP, 1, "[SW-MSRP] port %d STP down\n", port);
}

void MSRPHandler::PortAvbUp(uint8_t port) {
    log(LogCategory::MSRP, 1, "[SW-MSRP] port %d AVB up\n", port);
    for (uint8_t p = 0; p < PortCount(); ++p) ApplyToType(p, TALKER_ADVERTISE, Event::REPROPAGATE);
    ApplyToPort(port, Event::REDECLARE);
}

void MSRPHandler::PortAvbDown(uint8_t port) {
    log(LogCategory::MSRP, 1, "[SW-MSRP] port %d AVB down\n", port);
}

void MSRPHandler::AddControlOptions(boost::program_options::options_description& options) {
    MSRPControl::AddOptions(options);
}

void MSRPHandler::HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    parts->control.HandleOptions(values, answer);
}

void MSRPHandler::Propagate(MRPAttribute& attribute, Event indication, uint8_t) {
    switch (attribute.type) {
        case TALKER_ADVERTISE: {
            const auto& talker = static_cast<Talker&>(attribute);
            parts->talkers.Propagate(talker, indication);
            if (indication == Event::LV) {
                parts->listeners.TalkerLeft(talker);
            } else {
                parts->listeners.TalkerRegistered(talker, indication);
            }
            return;
        }
        case TALKER_FAILED:
            parts->talkers.Propagate(static_cast<TalkerFailed&>(attribute), indication);
            return;
        case LISTENER_VECTOR:
            parts->listeners.Propagate(static_cast<Listener&>(attribute), indication);
            return;
        case DOMAIN:
            return;  // a matter between two neighbours
        default:
            log(LogCategory::MSRP, 0, "Propagate request for unknown attribute type %d\n", attribute.type);
    }
}

void MSRPHandler::TransmitPdu(uint8_t port) {
    parts->transmitter.Transmit(port);
}

void MSRPHandler::DeleteAttribute(MRPAttribute& attribute) {
    if (attribute.type == TALKER_FAILED) parts->talkers.Forget(static_cast<TalkerFailed&>(attribute));
    if (attribute.type == LISTENER_VECTOR) parts->listeners.Forget(static_cast<Listener&>(attribute));
    MSRPDB::DeleteAttribute(attribute);
}

// Once a second every record is looked at and left as it is; a debug build checks that each stands in its own port's
// list.
void MSRPHandler::mf0() {
    for (uint8_t port = 0; port < PortCount(); ++port) {
        for (uint8_t type = TALKER_ADVERTISE; type <= DOMAIN; ++type) {
            ForEach(port, type, [&]([[maybe_unused]] MRPAttribute& attribute) { assert(attribute.port == port); });
        }
    }
}

}  // namespace norvad
