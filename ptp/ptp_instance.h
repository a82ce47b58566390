#pragma once

#include <cstdint>
#include <vector>

#include "base/mac_address.h"
#include "ptp/clocks.h"
#include "ptp/grandmaster_message.h"
#include "ptp/port_data.h"
#include "ptp/port_state.h"
#include "ptp/ptp_messages.h"
#include "switch/i4_dsa_socket.h"
#include "switch/i4_ptp.h"
#include "switch/ports.h"

namespace norvad {

// What the parts of gPTP share: the doors of the switch, and what is known of the clocks and the ports.
struct PTPInstance {
    PTPInstance(I4PTP& clock, I4DSASocket& socket, const MacAddress& macAddress, const PtpSettings& settings)
        : clock(clock),
          socket(socket),
          macAddress(macAddress),
          local(MakeLocalClock(ClockIdentityOf(macAddress), settings)),
          best{local.dataset, local.identity},
          ports(socket.GetMaxPorts()),
          state(settings.ptpNoGM) {}
    PTPInstance(const PTPInstance&) = delete;
    PTPInstance& operator=(const PTPInstance&) = delete;

    bool IsOwn(const PTPHeader& header) const { return header.sourcePortIdentity.clockIdentity == local.identity; }

    // Whether time and announcements leave by the port.
    bool Participates(uint8_t port) const { return socket.IsStpUp(port) && socket.IsAvbUp(port); }

    // Every port but the one to the CPU, in ascending order.
    template <typename Action>
    void ForEachPort(Action action) const {
        for (size_t port = 0; port < ports.size(); ++port) {
            if (port != cpuPort) action(static_cast<uint8_t>(port));
        }
    }

    I4PTP& clock;
    I4DSASocket& socket;
    const MacAddress macAddress;
    LocalClock local;
    BestMaster best;
    GrandmasterMessage grandmaster;
    std::vector<PTPPortData> ports;
    PortStateMachine state;
    int32_t windowMode = 0;  // 0: rate ratio over the last interval; else over one that grows with every exchange
};

}  // namespace norvad
