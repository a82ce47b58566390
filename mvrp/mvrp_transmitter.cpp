#include "mvrp/mvrp_transmitter.h"

#include "base/log.h"
#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

void MVRPTransmitter::Transmit(uint8_t port) {
    const std::span<uint8_t> bytes(frame);
    MRPDUWriter pdu(bytes.subspan(taggedHeaderSize), MessageLayout::WithoutListLength);
    const bool leaveAll = database.TxLeaveAll(port);
    const size_t added =
        database.AddMessage(pdu, port, Vlan::attributeType, REGISTER_VLAN, sizeof(VlanFirstValue), leaveAll);
    if (added > 0) {
        log(LogCategory::MVRP, 2, "[SW-MVRP] VlanProcessor added %d VLANs\n", static_cast<int>(added));
        log(LogCategory::MVRP, 2, "[SW-MVRP] VLAN event for port %d\n", port);
    }
    if (pdu.IsEmpty()) return;

    Put(bytes, 0, TaggedHeader{mvrpGroupAddress, {}, {}, ETHERTYPE_MVRP});
    socket.write(port, frame.data(), taggedHeaderSize + pdu.Finish());
}

}  // namespace norvad
