#pragma once

#include <cstdint>
#include <vector>

#include "lab/end_station/frame.h"
#include "lab/end_station/mrp_participant.h"

namespace norvad::station {

// The station's MVRP: the VLANs it belongs to, and those that the neighbour registers.
class VlanMember final : private RegistrationObserver {
public:
    VlanMember(const Clock& clock, uint32_t seed, MrpParticipant::Send send, EventLog log);

    void Declare(uint16_t vid);
    void WithdrawAll();

    MrpParticipant& Participant() { return participant; }
    const MrpParticipant& Participant() const { return participant; }

private:
    void Registered(const MrpValue& value) override;
    void Withdrawn(const MrpValue& value) override;

    EventLog log;
    MrpParticipant participant;
    std::vector<MrpValue> declared;
};

}  // namespace norvad::station
