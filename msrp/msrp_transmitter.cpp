#include "msrp/msrp_transmitter.h"

#include "base/log.h"
#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {
namespace {

struct SentMessage {
    uint8_t type;
    uint8_t firstValueLength;
    const char* added;    // with the number of values
    const char* forPort;  // with the port
};

// In the order in which they stand in the PDU.
constexpr SentMessage sentMessages[] = {
    {TALKER_ADVERTISE, sizeof(TalkerFirstValue), "[SW-MSRP] TalkerProcessor added %d talkers\n",
     "[SW-MSRP] talker event for port %d\n"},
    {TALKER_FAILED, sizeof(TalkerFailedFirstValue), "[SW-MSRP] TalkerFailedProcessor added %d talkerFailes\n",
     "[SW-MSRP] talker failed event for port %d\n"},
    {LISTENER_VECTOR, sizeof(ListenerFirstValue), "[SW-MSRP] ListenerProcessor added %d listeners\n", nullptr},
    {DOMAIN, sizeof(DomainFirstValue), "[SW-MSRP] DomainProcessor added %d domains\n",
     "[SW-MSRP] domain event for port %d\n"},
};

}  // namespace

void MSRPTransmitter::Transmit(uint8_t port) {
    const std::span<uint8_t> bytes(frame);
    MRPDUWriter pdu(bytes.subspan(taggedHeaderSize), MessageLayout::WithListLength);
    const bool leaveAll = database.TxLeaveAll(port);
    for (const SentMessage& message : sentMessages) {
        const size_t added = database.AddMessage(pdu, port, message.type, message.firstValueLength, leaveAll);
        if (added == 0) continue;
        log(LogCategory::MSRP, 1, message.added, static_cast<int>(added));
        if (message.forPort) log(LogCategory::MSRP, 2, message.forPort, port);
    }
    if (pdu.IsEmpty()) return;

    Put(bytes, 0, TaggedHeader{msrpGroupAddress, {}, {}, ETHERTYPE_MSRP});
    socket.write(port, frame.data(), taggedHeaderSize + pdu.Finish());
}

}  // namespace norvad
