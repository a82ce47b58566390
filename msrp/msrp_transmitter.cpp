#include "msrp/msrp_transmitter.h"

#include <iterator>

#include "base/log.h"
#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {
namespace {

// In the order in which they stand in the PDU.
constexpr MessageForm messages[] = {
    {TALKER_ADVERTISE, sizeof(TalkerFirstValue)},
    {TALKER_FAILED, sizeof(TalkerFailedFirstValue)},
    {LISTENER_VECTOR, sizeof(ListenerFirstValue)},
    {DOMAIN, sizeof(DomainFirstValue)},
};

// The same.
constexpr struct {
    const char* added;    // with the number of values
    const char* forPort;  // with the port
} texts[] = {
    {"[SW-MSRP] TalkerProcessor added %d talkers\n", "[SW-MSRP] talker event for port %d\n"},
    {"[SW-MSRP] TalkerFailedProcessor added %d talkerFailes\n", "[SW-MSRP] talker failed event for port %d\n"},
    {"[SW-MSRP] ListenerProcessor added %d listeners\n", nullptr},
    {"[SW-MSRP] DomainProcessor added %d domains\n", "[SW-MSRP] domain event for port %d\n"},
};
static_assert(std::size(texts) == std::size(messages));

}  // namespace

void MSRPTransmitter::Transmit(uint8_t port) {
    const std::span<uint8_t> bytes(frame);
    MRPDUWriter pdu(bytes.subspan(taggedHeaderSize), MessageLayout::WithListLength);
    const bool leaveAll = database.TxLeaveAll(port);
    database.AddMessages(pdu, port, messages, leaveAll, [port](size_t place, size_t values) {
        if (values == 0) return;
        log(LogCategory::MSRP, 1, texts[place].added, static_cast<int>(values));
        if (texts[place].forPort) log(LogCategory::MSRP, 2, texts[place].forPort, port);
    });
    if (pdu.IsEmpty()) return;

    Put(bytes, 0, TaggedHeader{msrpGroupAddress, {}, {}, ETHERTYPE_MSRP});
    socket.write(port, frame.data(), taggedHeaderSize + pdu.Finish());
}

}  // namespace norvad
