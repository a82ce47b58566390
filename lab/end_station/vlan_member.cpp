#include "lab/end_station/vlan_member.h"

#include <fmt/format.h>

#include <boost/endian/conversion.hpp>
#include <string>
#include <utility>

namespace norvad::station {

namespace {

std::string VlanText(const MrpValue& value) {
    return fmt::format("vlan {}", boost::endian::load_big_u16(value.firstValue.data()));
}

}  // namespace

VlanMember::VlanMember(const Clock& clock, uint32_t seed, MrpParticipant::Send send, EventLog log)
    : log(std::move(log)), participant(mvrpApplication, clock, seed, std::move(send), *this) {}

void VlanMember::Declare(uint16_t vid) {
    const MrpValue value{vlanAttribute, {static_cast<uint8_t>(vid >> 8), static_cast<uint8_t>(vid)}};
    participant.Declare(value);
    declared.push_back(value);
    log("declares " + VlanText(value));
}

void VlanMember::WithdrawAll() {
    participant.WithdrawAll();
    for (const auto& value : std::exchange(declared, {})) log("withdraws " + VlanText(value));
}

void VlanMember::Registered(const MrpValue& value) {
    log(VlanText(value) + " registered");
}

void VlanMember::Withdrawn(const MrpValue& value) {
    log(VlanText(value) + " withdrawn");
}

}  // namespace norvad::station
