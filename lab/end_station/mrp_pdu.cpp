#include "lab/end_station/mrp_pdu.h"

#include <algorithm>
#include <boost/endian/conversion.hpp>
#include <optional>

#include "base/wire.h"
#include "mrp/mrp_wire.h"

namespace norvad::station {

namespace {

constexpr uint8_t attributeEvents = 6;

// Adds one to the 16-bit number at offset, which wraps.
void Increment16(Bytes& value, size_t offset) {
    uint8_t* const at = value.data() + offset;
    boost::endian::store_big_u16(at, static_cast<uint16_t>(boost::endian::load_big_u16(at) + 1));
}

// The value that follows in a vector, IEEE 802.1Q, 35.2.2.8.1 and 11.2.3.1.
void Advance(const MrpApplication& application, uint8_t type, Bytes& value) {
    if (application.etherType == ETHERTYPE_MVRP) return Increment16(value, 0);
    if (type == DOMAIN) {
        ++value[0];
        ++value[1];
        return;
    }
    Increment16(value, offsetof(TalkerFirstValue, streamId) + 6);
    if (type != LISTENER_VECTOR) Increment16(value, offsetof(TalkerFirstValue, destination) + 4);
}

uint8_t Unpacked(std::span<const uint8_t> events, size_t index, size_t perByte, uint8_t base) {
    uint8_t packed = events[index / perByte];
    for (size_t behind = perByte - 1 - index % perByte; behind > 0; --behind) packed /= base;
    return packed % base;
}

// Walks the vectors of one message.
class VectorReader {
public:
    VectorReader(const MrpApplication& application, const AttributeShape& shape, MrpReceiver& receiver)
        : application(application), shape(shape), receiver(receiver) {}

    // Takes vectors off bytes up to and with the end mark; false when the bytes end before.
    bool Read(std::span<const uint8_t>& bytes) {
        while (const auto header = Take<MrpVectorHeader>(bytes)) {
            if (header->value == mrpEndMark) return true;
            if (!ReadVector(*header, bytes)) return false;
        }
        return false;
    }

private:
    bool ReadVector(const MrpVectorHeader& header, std::span<const uint8_t>& bytes) {
        const size_t values = header.NumberOfValues();
        const size_t threes = (values + 2) / 3;
        const size_t fours = shape.fourPacked ? (values + 3) / 4 : 0;
        if (bytes.size() < shape.length + threes + fours) return false;
        if (header.LeaveAll()) receiver.ReceiveLeaveAll(shape.type);
        Report(bytes.first(shape.length), values, bytes.subspan(shape.length, threes),
               bytes.subspan(shape.length + threes, fours));
        bytes = bytes.subspan(shape.length + threes + fours);
        return true;
    }

    void Report(std::span<const uint8_t> firstValue, size_t values, std::span<const uint8_t> threes,
                std::span<const uint8_t> fours) {
        MrpValue value{shape.type, Bytes(firstValue.begin(), firstValue.end())};
        for (size_t i = 0; i < values; ++i) {
            const auto event = static_cast<AttributeEvent>(Unpacked(threes, i, 3, attributeEvents));
            if (shape.fourPacked) value.declaration = static_cast<ListenerDeclaration>(Unpacked(fours, i, 4, 4));
            receiver.ReceiveValue(value, event);
            Advance(application, shape.type, value.firstValue);
        }
    }

    const MrpApplication& application;
    const AttributeShape& shape;
    MrpReceiver& receiver;
};

// The message's vectors, cut off the front of bytes by their stated length.
std::optional<std::span<const uint8_t>> TakeList(std::span<const uint8_t>& bytes) {
    const auto listLength = Take<boost::endian::big_uint16_t>(bytes);
    if (!listLength || *listLength > bytes.size()) return {};
    const auto list = bytes.first(*listLength);
    bytes = bytes.subspan(*listLength);
    return list;
}

bool ReadMessage(const MrpApplication& application, const MrpShortMessageHeader& header,
                 std::span<const uint8_t>& bytes, MrpReceiver& receiver) {
    const AttributeShape* const shape = application.Shape(header.attributeType);
    const bool known = shape != nullptr && header.attributeLength == shape->length;
    if (!application.hasListLength) return known && VectorReader(application, *shape, receiver).Read(bytes);

    auto list = TakeList(bytes);
    if (!list || !known) return list.has_value() && shape == nullptr;
    return VectorReader(application, *shape, receiver).Read(*list);
}

}  // namespace

bool ReadMrpPdu(const MrpApplication& application, std::span<const uint8_t> pdu, MrpReceiver& receiver) {
    if (pdu.empty()) return false;
    pdu = pdu.subspan(1);  // any protocol version is read as ours, IEEE 802.1Q, 10.8.3.5
    while (const auto header = Take<MrpShortMessageHeader>(pdu)) {
        if (header->attributeType == 0) return header->attributeLength == 0;
        if (!ReadMessage(application, *header, pdu, receiver)) return false;
    }
    return pdu.empty();  // the end of the frame ends a PDU as well as the mark does
}

MrpPduWriter::MrpPduWriter(const MrpApplication& application) : application(application) {
    Restart();
}

bool MrpPduWriter::AddValue(const MrpValue& value, AttributeEvent event, bool leaveAll) {
    const AttributeShape& shape = *application.Shape(value.type);
    const auto header = static_cast<uint16_t>(1 | (leaveAll ? mrpLeaveAllEvent : 0));
    const size_t packed = shape.fourPacked ? 2 : 1;
    if (!BeginVector(shape, header, sizeof(MrpVectorHeader) + shape.length + packed)) return false;
    Append(value.firstValue);
    buffer[length++] = static_cast<uint8_t>(static_cast<uint8_t>(event) * 36);
    if (shape.fourPacked) buffer[length++] = static_cast<uint8_t>(static_cast<uint8_t>(value.declaration) << 6);
    return true;
}

bool MrpPduWriter::AddLeaveAll(const AttributeShape& shape) {
    if (!BeginVector(shape, mrpLeaveAllEvent, sizeof(MrpVectorHeader) + shape.length)) return false;
    length += shape.length;  // the buffer was zero from the start
    return true;
}

bool MrpPduWriter::BeginVector(const AttributeShape& shape, uint16_t header, size_t vectorLength) {
    if (length + vectorLength + sizeof(MrpMessageHeader) + 2 * mrpEndMarkSize > capacity) return false;
    if (open != nullptr && (open->type != shape.type || application.oneValuePerMessage)) EndMessage();
    if (open == nullptr) {
        open = &shape;
        messageStart = length;
        buffer[length] = shape.type;
        buffer[length + 1] = shape.length;
        length += application.hasListLength ? sizeof(MrpMessageHeader) : sizeof(MrpShortMessageHeader);
    }
    Append(BytesOf(MrpVectorHeader{header}));
    return true;
}

void MrpPduWriter::EndMessage() {
    length += mrpEndMarkSize;
    if (application.hasListLength) {
        const auto listLength = static_cast<uint16_t>(length - messageStart - sizeof(MrpMessageHeader));
        boost::endian::store_big_u16(buffer.data() + messageStart + sizeof(MrpShortMessageHeader), listLength);
    }
    open = nullptr;
}

void MrpPduWriter::Append(std::span<const uint8_t> bytes) {
    std::ranges::copy(bytes, buffer.begin() + length);
    length += bytes.size();
}

void MrpPduWriter::Restart() {
    buffer.fill(0);
    buffer[0] = mrpProtocolVersion;
    length = 1;
    open = nullptr;
}

std::span<const uint8_t> MrpPduWriter::Finish() {
    if (open != nullptr) EndMessage();
    length += mrpEndMarkSize;
    return std::span(buffer).first(length);
}

}  // namespace norvad::station
