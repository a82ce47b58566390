#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/timer_service.h"
#include "mrp/mrpdu.h"
#include "msrp/listener_propagation.h"
#include "msrp/msrpdb.h"
#include "msrp/reservation.h"
#include "msrp/talker_propagation.h"
#include "switch/proto_handler.h"

namespace norvad {

class I4DSASocket;
class I4Switch;
struct MessageKind;

// The stream reservation protocol (IEEE 802.1Q, clause 35) on every port of the bridge: reads the neighbours' MRPDUs,
// carries talkers and listeners between the ports, reserves what they agree on, and declares it all to the neighbours.
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
    void mf0();

    // Receive. Each Read takes one message that reaches to the end of what arrived.
    void ReadMessages(std::span<const uint8_t> messages);
    bool ReadMessage(const MrpMessageHeader& header, std::span<const uint8_t> message);
    template <typename FirstValue, typename Step>
    void ReadVectors(const MessageKind& kind, std::span<const uint8_t> message, Step step);
    void ReadTalker(const TalkerFirstValue& value, Event event);
    void ReadTalkerFailed(const TalkerFailedFirstValue& value, Event event);
    void ReadListener(const ListenerFirstValue& value, ListenerDeclaration declaration, Event event);

    // Control. The type's records over all ports are numbered from 0.
    void ListStreams(std::ostream& answer);
    void ListDomains(std::ostream& answer);
    void List(uint8_t port, uint8_t type, std::ostream& answer);
    void LeaveEntry(uint8_t type, int number, const char* notFound, std::ostream& answer);
    MRPAttribute* Entry(uint8_t type, int number);

    I4DSASocket& socket;
    TimerService& timers;
    const MacAddress macAddress;  // of the switch
    Reservations reservations;
    TalkerPropagation talkers;
    ListenerPropagation listeners;
    Timer* walkTimer;
    uint8_t currentPort = 0;  // where the frame being read came in
    std::array<uint8_t, MRPDUWriter::bufferSize> frame{};
};

}  // namespace norvad
