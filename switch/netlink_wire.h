#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstdint>

namespace norvad {

// Route netlink messages about links, in the byte order of the host; see netlink(7) and rtnetlink(7).

inline constexpr uint16_t netlinkError = 2;
inline constexpr uint16_t netlinkDone = 3;
inline constexpr uint16_t netlinkNewLink = 16;
inline constexpr uint16_t netlinkGetLink = 18;
inline constexpr uint16_t netlinkDumpRequest = 0x301;  // flags: a request, for a dump
inline constexpr uint8_t bridgeFamily = 7;

inline constexpr uint16_t linkAttributeName = 3;
inline constexpr uint16_t linkAttributePortLinks = 10;  // the switch driver's; in bridge-family messages only
inline constexpr uint16_t linkAttributeOperState = 16;
inline constexpr uint32_t operStateUp = 6;

struct NetlinkHeader {
    boost::endian::native_uint32_t length;  // of the message, this header included
    boost::endian::native_uint16_t type;
    boost::endian::native_uint16_t flags;
    boost::endian::native_uint32_t sequence;
    boost::endian::native_uint32_t portId;
};
static_assert(sizeof(NetlinkHeader) == 16 && alignof(NetlinkHeader) == 1);

struct LinkHeader {
    uint8_t family;
    uint8_t padding;
    boost::endian::native_uint16_t deviceType;
    boost::endian::native_int32_t index;
    boost::endian::native_uint32_t flags;
    boost::endian::native_uint32_t change;
};
static_assert(sizeof(LinkHeader) == 16 && alignof(LinkHeader) == 1);

struct LinkAttribute {
    boost::endian::native_uint16_t length;  // of the attribute, this header included
    boost::endian::native_uint16_t type;
};
static_assert(sizeof(LinkAttribute) == 4 && alignof(LinkAttribute) == 1);

// Asks for all links of one address family.
struct LinkDumpRequest {
    NetlinkHeader header;
    uint8_t family;
};
static_assert(sizeof(LinkDumpRequest) == 17 && alignof(LinkDumpRequest) == 1);

// Messages and attributes start at multiples of four bytes.
constexpr size_t NetlinkAlign(size_t length) {
    return (length + 3) & ~size_t{3};
}

}  // namespace norvad
