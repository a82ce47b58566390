#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "mrp/mrp_types.h"
#include "mrp/mrp_wire.h"

namespace norvad {

// What a neighbour sent, and the port on which it came in: a PDU, or a message that reaches to its end.
struct ReceivedBytes {
    uint8_t port;
    std::span<const uint8_t> bytes;
};

enum class MessageLayout : uint8_t { WithListLength, WithoutListLength };  // MSRP, MVRP

// Walks the vectors of one received message. Every step is bounded by the bytes that arrived: a vector whose
// first value or events are not wholly there ends the walk.
class AttributeGetter {
public:
    // message starts at the attribute type and reaches to the end of what arrived.
    AttributeGetter(std::span<const uint8_t> message, MessageLayout layout, bool fourPacked);

    // The next vector's header; nothing at the end of the list, where NumberOfValues becomes 0.
    std::optional<MrpVectorHeader> GetNext();

    // Whether the next vector carries a LeaveAll, as a receiver understands it: by the lowest bit of LeaveAllEvent.
    // Looks ahead without a line in the log.
    bool HasLeaveAllNext() const;

    // Bytes of the message that the walk has read: its head, the vectors and, once it was met, the end mark.
    size_t BytesRead() const;

    // Of the current vector.
    std::span<const uint8_t> FirstValue() const { return firstValue; }
    uint16_t NumberOfValues() const { return numberOfValues; }
    uint8_t ThreePackedEvent(uint16_t index) const;  // 0..5; index below NumberOfValues
    uint8_t FourPackedEvent(uint16_t index) const;   // 0..3; only with fourPacked

    // All that arrived from the next vector's first value on, if there is such a vector: a hint.
    std::span<const uint8_t> NextFirstValue() const {
        return list.subspan(std::min(offset + sizeof(MrpVectorHeader), list.size()));
    }

private:
    std::optional<MrpVectorHeader> PeekNext() const;
    bool IsEndOfList(const MrpVectorHeader& header) const;
    void LogStep() const;

    std::span<const uint8_t> list;  // from the first vector to the end of what arrived
    MessageLayout layout;
    bool fourPacked;
    uint8_t attributeLength = 0;
    uint16_t attributeListLength = 0;  // as claimed
    size_t offset = 0;                 // into list, never behind its end
    uint16_t numberOfValues = 0;
    std::span<const uint8_t> firstValue;
    std::span<const uint8_t> threePackedEvents;
    std::span<const uint8_t> fourPackedEvents;
};

// Builds one MRPDU behind the tagged header of a frame in a fixed buffer. Each vector carries one value.
class MRPDUWriter {
public:
    static constexpr size_t bufferSize = 2048;

    // payload is the frame behind its tagged header (frame offset 22); the protocol version is written at once.
    MRPDUWriter(std::span<uint8_t> payload, MessageLayout layout);

    // Past this, values wait for the next transmit opportunity: header and messages have reached 1400 bytes.
    bool IsFull() const;

    // What would not leave room for the end marks is not written; with attributes of the usual lengths IsFull keeps
    // callers far from that.
    void BeginMessage(uint8_t attributeType, uint8_t attributeLength);
    void AddFirstValue(bool leaveAll, std::span<const uint8_t> firstValue, AttributeEvent event,
                       std::optional<uint8_t> fourPackedEvent);
    void AddLeaveAll(size_t firstValueLength);  // a vector with LeaveAll, no values and a zero first value
    void EndMessage();                          // end mark, counted into the list length

    bool IsEmpty() const;  // no message was written
    size_t Length() const { return length; }

    // Puts the messages from that length on in front of those before it.
    void MoveToFront(size_t from);
    size_t Finish();  // writes the PDU's end mark; returns the payload's length

private:
    bool HasRoomFor(size_t size) const;
    void Append(std::span<const uint8_t> bytes);

    std::span<uint8_t> payload;
    MessageLayout layout;
    size_t length = 0;        // bytes of payload written
    size_t messageStart = 0;  // of the open message
};

}  // namespace norvad
