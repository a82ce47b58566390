#include "lab/network/program/stream_names.h"

#include <algorithm>
#include <boost/endian/conversion.hpp>

namespace norvad::network {

namespace {

constexpr uint16_t streamVid = 2;
constexpr uint8_t classAPriority = 3;
constexpr uint8_t classBPriority = 2;

}  // namespace

StreamID StreamIdOf(const StationPlan& station, uint16_t number) {
    StreamID id{};
    std::copy(station.mac.begin(), station.mac.end(), id.begin());
    boost::endian::store_big_u16(id.data() + station.mac.size(), number);
    return id;
}

// Behind the prefix of streams come 12 bits of the station's number and 12 of the stream's.
MacAddress StreamAddressOf(const StationPlan& station, uint16_t number) {
    const uint32_t index = boost::endian::load_big_u16(station.mac.data() + 4);
    MacAddress address{0x91, 0xE0, 0xF0};
    boost::endian::store_big_u24(address.data() + 3, index << 12 | number);
    return address;
}

lab::VlanTag StreamTagOf(const StationPlan& station) {
    return {streamVid, station.isClassB ? classBPriority : classAPriority};
}

std::optional<uint16_t> StreamNumberOf(const StationPlan& station, const StreamID& id) {
    if (!std::equal(station.mac.begin(), station.mac.end(), id.begin())) return {};
    const uint16_t number = boost::endian::load_big_u16(id.data() + station.mac.size());
    if (number >= station.streams) return {};
    return number;
}

}  // namespace norvad::network
