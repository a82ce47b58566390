#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mrp/mrpdu.h"
#include "tests/support/bytes.h"

namespace norvad::test {
namespace {

constexpr auto withList = MessageLayout::WithListLength;
constexpr auto withoutList = MessageLayout::WithoutListLength;
constexpr size_t payloadSize = MRPDUWriter::bufferSize - 22;

// A PDU under construction in memory that is not clean.
struct Pdu {
    explicit Pdu(MessageLayout layout) : payload(payloadSize, 0xee), writer(payload, layout) {}
    Bytes Finish() {
        const size_t length = writer.Finish();
        return {payload.begin(), payload.begin() + static_cast<ptrdiff_t>(length)};
    }

    Bytes payload;
    MRPDUWriter writer;
};

TEST(MrpduWriter, StartsWithTheProtocolVersionAndEndsWithTheEndMark) {
    Pdu pdu(withList);

    EXPECT_TRUE(pdu.writer.IsEmpty());
    EXPECT_EQ(pdu.Finish(), FromHex("00 00 00"));
}

TEST(MrpduWriter, WritesListenersWithListLengthAndFourPackedEvents) {
    Pdu pdu(withList);

    pdu.writer.BeginMessage(3, 8);
    pdu.writer.AddFirstValue(true, FromHex("00 01 02 03 04 05 00 2a"), AttributeEvent::JOIN, 2);
    pdu.writer.AddFirstValue(false, FromHex("00 01 02 03 04 05 00 2b"), AttributeEvent::LV, 1);
    pdu.writer.EndMessage();
    EXPECT_FALSE(pdu.writer.IsEmpty());
    EXPECT_EQ(pdu.Finish(),
              FromHex("00 "                                   // protocol version
                      "03 08 00 1a "                          // listeners, 8 bytes each, 26 bytes of list
                      "20 01 00 01 02 03 04 05 00 2a 24 80 "  // LeaveAll, one value: JoinIn, Ready
                      "00 01 00 01 02 03 04 05 00 2b b4 40 "  // one value: Leave, AskingFailed
                      "00 00 "                                // end of the list
                      "00 00"));                              // end of the PDU
}

TEST(MrpduWriter, WritesVlansWithoutListLength) {
    Pdu pdu(withoutList);

    pdu.writer.BeginMessage(1, 2);
    pdu.writer.AddFirstValue(false, FromHex("00 64"), AttributeEvent::NEW, {});
    pdu.writer.AddFirstValue(false, FromHex("00 65"), AttributeEvent::MT, {});
    pdu.writer.EndMessage();

    EXPECT_EQ(pdu.Finish(), FromHex("00 01 02 00 01 00 64 00 00 01 00 65 90 00 00 00 00"));
}

TEST(MrpduWriter, ALeaveAllAloneHasNoValuesAndAZeroFirstValue) {
    Pdu pdu(withList);

    pdu.writer.BeginMessage(4, 4);
    pdu.writer.AddLeaveAll(4);
    pdu.writer.EndMessage();

    EXPECT_EQ(pdu.Finish(), FromHex("00 04 04 00 08 20 00 00 00 00 00 00 00 00 00"));
}

TEST(MrpduWriter, IsFullWhenMessagesAnd23BytesReach1400) {
    Pdu pdu(withoutList);
    pdu.writer.BeginMessage(1, 2);  // 2 bytes
    for (int i = 0; i < 274; ++i)
        pdu.writer.AddFirstValue(false, FromHex("00 01"), AttributeEvent::JOIN, {});  // 1370 bytes

    EXPECT_FALSE(pdu.writer.IsFull());
    pdu.writer.AddLeaveAll(2);  // 1376 bytes of messages: 1399
    EXPECT_FALSE(pdu.writer.IsFull());
    pdu.writer.AddLeaveAll(0);  // 1378
    EXPECT_TRUE(pdu.writer.IsFull());
}

TEST(MrpduWriter, IsFullAtExactly1400) {
    Pdu pdu(withList);
    pdu.writer.BeginMessage(1, 100);                                       // 4 bytes
    for (int i = 0; i < 13; ++i) pdu.writer.AddLeaveAll(100);              // 1326 bytes
    pdu.writer.AddFirstValue(false, Bytes(43), AttributeEvent::JOIN, {});  // 46: 1376 of messages, 1399
    EXPECT_FALSE(pdu.writer.IsFull());

    Pdu full(withList);
    full.writer.BeginMessage(1, 100);
    for (int i = 0; i < 13; ++i) full.writer.AddLeaveAll(100);
    full.writer.AddFirstValue(false, Bytes(44), AttributeEvent::JOIN, {});  // 1377 of messages: 1400
    EXPECT_TRUE(full.writer.IsFull());
}

TEST(MrpduWriter, WhatAnEncoderWroteADecoderReads) {
    for (const MessageLayout layout : {withList, withoutList}) {
        Pdu pdu(layout);
        pdu.writer.BeginMessage(3, 2);
        for (uint8_t i = 0; i < 24; ++i) {
            pdu.writer.AddFirstValue(i == 0, Bytes{1, i}, static_cast<AttributeEvent>(i % 6),
                                     static_cast<uint8_t>(i % 4));
        }
        pdu.writer.EndMessage();
        Bytes sent = pdu.Finish();

        AttributeGetter getter(std::span<uint8_t>(sent).subspan(1), layout, true);
        for (uint8_t i = 0; i < 24; ++i) {
            const auto header = getter.GetNext();
            ASSERT_TRUE(header);
            EXPECT_EQ(header->LeaveAll(), i == 0);
            EXPECT_THAT(getter.FirstValue(), testing::ElementsAre(1, i));
            ASSERT_EQ(getter.NumberOfValues(), 1);
            EXPECT_EQ(getter.ThreePackedEvent(0), i % 6);
            EXPECT_EQ(getter.FourPackedEvent(0), i % 4);
        }
        EXPECT_FALSE(getter.GetNext());
    }
}

TEST(MrpduWriter, NeverWritesBehindItsBuffer) {
    for (size_t size = 0; size < 64; ++size) {
        Bytes memory(size + 8, 0xee);
        MRPDUWriter writer(std::span<uint8_t>(memory).first(size), withList);
        for (uint8_t type = 1; type < 5; ++type) {
            writer.BeginMessage(type, 8);
            writer.AddLeaveAll(8);
            writer.AddFirstValue(false, Bytes(8), AttributeEvent::NEW, 3);
            writer.EndMessage();
        }

        EXPECT_LE(writer.Finish(), size);
        EXPECT_EQ(Bytes(memory.begin() + size, memory.end()), Bytes(8, 0xee)) << size;
    }
}

TEST(MrpduWriter, AValueThatDoesNotFitLeavesRoomForTheEndMarks) {
    Bytes memory(16);
    MRPDUWriter writer(memory, withList);

    writer.BeginMessage(1, 4);
    writer.AddFirstValue(false, FromHex("aa bb cc dd"), AttributeEvent::JOIN,
                         {});  // 12 bytes so far, 16 with the marks
    writer.AddFirstValue(false, FromHex("aa bb cc dd"), AttributeEvent::JOIN, {});
    writer.EndMessage();

    EXPECT_EQ(writer.Finish(), 16u);
    EXPECT_EQ(memory, FromHex("00 01 04 00 09 00 01 aa bb cc dd 24 00 00 00 00"));
}

}  // namespace
}  // namespace norvad::test
