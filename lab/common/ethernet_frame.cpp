#include "lab/common/ethernet_frame.h"

#include <algorithm>

#include "base/ethertypes.h"
#include "base/hex.h"
#include "base/wire.h"
#include "ptp/ptp_messages.h"

namespace norvad::lab {

std::optional<FrameFields> ParseFrame(std::span<const uint8_t> frame) {
    const auto ethernet = Peek<EthernetHeader>(frame);
    if (!ethernet) return {};
    FrameFields fields{ethernet->destination, ethernet->source, 0, ethernet->etherType, sizeof(EthernetHeader)};
    if (fields.etherType != etherTypeVlan) return fields;

    const auto tag = Peek<VlanTagBytes>(frame, offsetof(EthernetHeader, etherType));
    const auto inner = Peek<boost::endian::big_uint16_t>(frame, sizeof(EthernetHeader) + 2);
    if (!tag || !inner) return {};
    fields.vid = TagOf(tag->control).vid;
    fields.etherType = *inner;
    fields.payload = sizeof(EthernetHeader) + sizeof(VlanTagBytes);
    return fields;
}

std::optional<EventMessage> ParseEventMessage(std::span<const uint8_t> frame) {
    const auto fields = ParseFrame(frame);
    if (!fields || fields->etherType != ETHERTYPE_PTP2) return {};
    const auto header = Peek<PTPHeader>(frame, fields->payload);
    if (!header) return {};
    const auto messageType = static_cast<uint8_t>(header->firstByte & 0x0F);
    if (!IsEventType(messageType)) return {};
    return EventMessage{messageType, header->sequenceId};
}

size_t LengthWithoutPtpTrailer(std::span<const uint8_t> frame) {
    const auto fields = ParseFrame(frame);
    if (!fields || fields->etherType != ETHERTYPE_PTP2) return frame.size();
    const auto header = Peek<PTPHeader>(frame, fields->payload);
    if (!header) return frame.size();
    const size_t end = std::max(fields->payload + header->messageLength, minimumFrame);
    return std::min(end, frame.size());
}

bool IsControlAddress(const MacAddress& address) {
    constexpr std::array<uint8_t, 5> prefix{0x01, 0x80, 0xC2, 0x00, 0x00};
    if (!std::equal(prefix.begin(), prefix.end(), address.begin())) return false;
    const auto block = address[5] & 0xF0;
    return block == 0x00 || block == 0x20;
}

bool IsStreamAddress(const MacAddress& address) {
    return address[0] == 0x91 && address[1] == 0xE0 && address[2] == 0xF0;
}

std::string AddressText(const MacAddress& address) {
    return HexText(address);
}

std::optional<MacAddress> ParseAddress(const std::string& text) {
    MacAddress address;
    if (!ReadHexPairs(text, address)) return {};
    return address;
}

}  // namespace norvad::lab
