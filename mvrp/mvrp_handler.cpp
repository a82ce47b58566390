#include "mvrp/mvrp_handler.h"

#include <boost/program_options.hpp>
#include <ostream>

#include "base/ethertypes.h"
#include "base/log.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

MVRPHandler::MVRPHandler(I4DSASocket& socket, I4Switch& bridge, TimerService& timers)
    : MVRPDB(timers, socket.GetMaxPorts()), socket(socket), bridge(bridge) {}

uint16_t MVRPHandler::GetEtherType() const {
    return ETHERTYPE_MVRP;
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
    options.add_options()("mvrp,v", "show MVRP entries");
}

void MVRPHandler::HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    if (values.count("mvrp") == 0) return;
    for (uint8_t port = 0; port < PortCount(); ++port) {
        answer << "Port " << int{port} << "\n";
        ForEach(port, Vlan::attributeType,
                [&](MRPAttribute& vlan) { answer << vlan.Text() << " " << StateText(vlan) << "\n"; });
    }
}

}  // namespace norvad
