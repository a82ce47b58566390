#pragma once

#include <boost/container_hash/hash.hpp>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "lab/end_station/frame.h"
#include "lab/end_station/mrp_participant.h"
#include "msrp/msrp_wire.h"

namespace norvad::station {

// A stream that the station offers.
struct TalkerSettings {
    StreamID id{};
    MacAddress destination{};
    VlanTag tag{2, 3};
    uint16_t maxFrameSize = 100;  // bytes behind the EtherType
    uint16_t intervalFrames = 1;
};

// A stream that it wants.
struct ListenerSettings {
    StreamID id{};
    ListenerDeclaration declaration = ListenerDeclaration::READY;
};

// The station's MSRP: its SR classes, talkers and listeners, and what the neighbour declares.
class Reservations final : private RegistrationObserver {
public:
    Reservations(const Clock& clock, uint32_t seed, MrpParticipant::Send send, EventLog log);

    void DeclareDomains();  // class A on priority 3 and class B on priority 2, VLAN 2
    void Declare(const TalkerSettings& talker);
    void Declare(const ListenerSettings& listener);
    void Withdraw(const TalkerSettings& talker);
    void Withdraw(const ListenerSettings& listener);
    void WithdrawAll();

    // True while a listener that can receive the stream is registered.
    bool HasReadyListener(const StreamID& id) const;
    // How the registered talker of the stream tags its frames.
    std::optional<VlanTag> TagOf(const StreamID& id) const;
    // How late its frames are to be at most, in nanoseconds, as the bridges on their way have added it up.
    std::optional<uint32_t> PromisedLatencyNs(const StreamID& id) const;

    MrpParticipant& Participant() { return participant; }
    const MrpParticipant& Participant() const { return participant; }

private:
    struct RegisteredTalker {
        VlanTag tag;
        uint32_t latencyNs;
    };

    void Registered(const MrpValue& value) override;
    void Withdrawn(const MrpValue& value) override;
    void ListenerRegistered(const StreamID& id, ListenerDeclaration declaration);

    EventLog log;
    MrpParticipant participant;
    std::unordered_set<StreamID, boost::hash<StreamID>> readyListeners;
    std::unordered_map<StreamID, RegisteredTalker, boost::hash<StreamID>> talkers;
};

}  // namespace norvad::station
