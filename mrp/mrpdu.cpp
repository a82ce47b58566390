#include "mrp/mrpdu.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "base/log.h"
#include "base/wire.h"

namespace norvad {

namespace {

constexpr size_t bytesInFront = 22;           // of the tagged header, which counts towards a frame's limit
constexpr size_t fullAt = 1400;               // bytes of the frame
constexpr size_t marks = 2 * mrpEndMarkSize;  // kept free for the ends of the message and of the PDU
constexpr std::array<uint8_t, 3> threePackedWeights = {36, 6, 1};
constexpr std::array<uint8_t, 4> fourPackedWeights = {64, 16, 4, 1};

size_t ThreePackedSize(uint16_t values) {
    return (size_t{values} + 2) / 3;
}
size_t FourPackedSize(uint16_t values) {
    return (size_t{values} + 3) / 4;
}

}  // namespace

AttributeGetter::AttributeGetter(std::span<const uint8_t> message, MessageLayout layout, bool fourPacked)
    : layout(layout), fourPacked(fourPacked) {
    std::span<const uint8_t> rest = message;
    if (layout == MessageLayout::WithListLength) {
        const auto header = Take<MrpMessageHeader>(rest);
        if (!header) return;
        attributeLength = header->attributeLength;
        attributeListLength = header->attributeListLength;
    } else {
        const auto header = Take<MrpShortMessageHeader>(rest);
        if (!header) return;
        attributeLength = header->attributeLength;
    }
    list = rest;
}

std::optional<MrpVectorHeader> AttributeGetter::GetNext() {
    LogStep();
    numberOfValues = 0;
    const auto header = PeekNext();
    if (!header) return {};

    numberOfValues = header->NumberOfValues();
    const size_t threePackedSize = ThreePackedSize(numberOfValues);
    const size_t fourPackedSize = fourPacked ? FourPackedSize(numberOfValues) : 0;
    const auto rest = list.subspan(offset + sizeof(MrpVectorHeader));
    firstValue = rest.first(attributeLength);
    threePackedEvents = rest.subspan(attributeLength, threePackedSize);
    fourPackedEvents = rest.subspan(attributeLength + threePackedSize, fourPackedSize);
    offset += sizeof(MrpVectorHeader) + attributeLength + threePackedSize;
    log(LogCategory::MRP, 6, "AttributeGetter::GetNext offset = %d , num_of_events = %d\n", static_cast<int>(offset),
        numberOfValues);
    offset += fourPackedSize;
    return header;
}

bool AttributeGetter::HasLeaveAllNext() const {
    const auto header = PeekNext();
    return header && (header->value & mrpLeaveAllEvent) != 0;
}

size_t AttributeGetter::BytesRead() const {
    const bool hasList = layout == MessageLayout::WithListLength;
    const size_t headSize = hasList ? sizeof(MrpMessageHeader) : sizeof(MrpShortMessageHeader);
    const auto next = Peek<MrpVectorHeader>(list.subspan(offset));
    return headSize + offset + (next && IsEndOfList(*next) ? mrpEndMarkSize : 0);
}

uint8_t AttributeGetter::ThreePackedEvent(uint16_t index) const {
    assert(index < numberOfValues);
    return threePackedEvents[index / 3] / threePackedWeights[index % 3] % 6;
}

uint8_t AttributeGetter::FourPackedEvent(uint16_t index) const {
    assert(fourPacked && index < numberOfValues);
    return fourPackedEvents[index / 4] / fourPackedWeights[index % 4] % 4;
}

// The header of a vector that is wholly there.
std::optional<MrpVectorHeader> AttributeGetter::PeekNext() const {
    const auto header = Peek<MrpVectorHeader>(list.subspan(offset));
    if (!header || IsEndOfList(*header)) return {};
    const uint16_t values = header->NumberOfValues();
    const size_t eventsSize = ThreePackedSize(values) + (fourPacked ? FourPackedSize(values) : 0);
    const size_t left = list.size() - offset - sizeof(MrpVectorHeader);
    if (left < attributeLength + eventsSize) return {};
    return header;
}

// The claimed list length ends the walk; what a vector holds is bounded by the bytes that arrived.
bool AttributeGetter::IsEndOfList(const MrpVectorHeader& header) const {
    if (layout == MessageLayout::WithListLength) return offset + mrpEndMarkSize >= attributeListLength;
    return header.value == mrpEndMark;
}

void AttributeGetter::LogStep() const {
    const int position = static_cast<int>(offset);
    if (layout == MessageLayout::WithListLength) {
        log(LogCategory::MRP, 6, "AttributeGetter::GetNext total len=%d offset=%d attr_len=%d\n",
            static_cast<int>(attributeListLength), position, attributeLength);
    } else {
        log(LogCategory::MRP, 6, "AttributeGetter::GetNext offset=%d attr_len=%d\n", position, attributeLength);
    }
}

MRPDUWriter::MRPDUWriter(std::span<uint8_t> payload, MessageLayout layout) : payload(payload), layout(layout) {
    Append(BytesOf(mrpProtocolVersion));
}

bool MRPDUWriter::IsFull() const {
    return bytesInFront + length >= fullAt;
}

void MRPDUWriter::BeginMessage(uint8_t attributeType, uint8_t attributeLength) {
    messageStart = length;
    if (layout == MessageLayout::WithListLength) {
        Append(BytesOf(MrpMessageHeader{attributeType, attributeLength, 0}));
    } else {
        Append(BytesOf(MrpShortMessageHeader{attributeType, attributeLength}));
    }
}

void MRPDUWriter::AddFirstValue(bool leaveAll, std::span<const uint8_t> firstValue, AttributeEvent event,
                                std::optional<uint8_t> fourPackedEvent) {
    const size_t eventsSize = fourPackedEvent ? 2 : 1;
    if (!HasRoomFor(sizeof(MrpVectorHeader) + firstValue.size() + eventsSize)) return;
    const auto headerValue = static_cast<uint16_t>((leaveAll ? mrpLeaveAllEvent : 0) | 1);
    Append(BytesOf(MrpVectorHeader{headerValue}));
    Append(firstValue);
    Append(BytesOf(static_cast<uint8_t>(static_cast<uint8_t>(event) * threePackedWeights[0])));
    if (fourPackedEvent) Append(BytesOf(static_cast<uint8_t>(*fourPackedEvent * fourPackedWeights[0])));
}

void MRPDUWriter::AddLeaveAll(size_t firstValueLength) {
    if (!HasRoomFor(sizeof(MrpVectorHeader) + firstValueLength)) return;
    Append(BytesOf(MrpVectorHeader{mrpLeaveAllEvent}));
    std::fill_n(payload.begin() + length, firstValueLength, uint8_t{0});
    length += firstValueLength;
}

void MRPDUWriter::EndMessage() {
    Append(BytesOf(boost::endian::big_uint16_t{mrpEndMark}));
    if (layout == MessageLayout::WithoutListLength) return;
    const auto listLength = static_cast<uint16_t>(length - messageStart - sizeof(MrpMessageHeader));
    Put(payload, messageStart + offsetof(MrpMessageHeader, attributeListLength),
        boost::endian::big_uint16_t{listLength});
}

bool MRPDUWriter::IsEmpty() const {
    return length <= sizeof(mrpProtocolVersion);
}

void MRPDUWriter::MoveToFront(size_t from) {
    const auto begin = payload.begin();
    std::rotate(begin + sizeof(mrpProtocolVersion), begin + from, begin + length);
}

size_t MRPDUWriter::Finish() {
    Append(BytesOf(boost::endian::big_uint16_t{mrpEndMark}));
    return length;
}

bool MRPDUWriter::HasRoomFor(size_t size) const {
    return length + size + marks <= payload.size();
}

void MRPDUWriter::Append(std::span<const uint8_t> bytes) {
    if (payload.size() - length < bytes.size()) return;
    std::copy(bytes.begin(), bytes.end(), payload.begin() + length);
    length += bytes.size();
}

}  // namespace norvad
