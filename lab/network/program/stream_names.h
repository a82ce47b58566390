#pragma once

#include <cstdint>
#include <optional>

#include "base/mac_address.h"
#include "lab/common/ethernet_frame.h"
#include "lab/network/program/scenario.h"
#include "msrp/msrp_wire.h"

namespace norvad::network {

// How the streams of a station are called on the wire. A network has 4,096 stations and each of them 4,096 streams at
// most.

StreamID StreamIdOf(const StationPlan& station, uint16_t number);
MacAddress StreamAddressOf(const StationPlan& station, uint16_t number);
lab::VlanTag StreamTagOf(const StationPlan& station);

// The number of a stream of that station; nothing for one that it never had.
std::optional<uint16_t> StreamNumberOf(const StationPlan& station, const StreamID& id);

}  // namespace norvad::network
