// How a port's MRPDU is made.

#include "base/log.h"
#include "mvrp/mvrp_handler.h"
#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

void MVRPHandler::TransmitPdu(uint8_t port) {
    const std::span<uint8_t> bytes(frame);
    MRPDUWriter pdu(bytes.subspan(taggedHeaderSize), MessageLayout::WithoutListLength);
    const bool leaveAll = TxLeaveAll(port);
    const size_t added = AddMessage(pdu, port, Vlan::attributeType, REGISTER_VLAN, sizeof(VlanFirstValue), leaveAll);
    if (added > 0) {
        log(LogCategory::MVRP, 2, "[SW-MVRP] VlanProcessor added %d VLANs\n", static_cast<int>(added));
        log(LogCategory::MVRP, 2, "[SW-MVRP] VLAN event for port %d\n", port);
    }
    if (pdu.IsEmpty()) return;

    TaggedHeader header{};
    header.destination = mvrpGroupAddress;
    header.etherType = ETHERTYPE_MVRP;
    Put(bytes, 0, header);
    socket.write(port, frame.data(), taggedHeaderSize + pdu.Finish());
}

}  // namespace norvad
