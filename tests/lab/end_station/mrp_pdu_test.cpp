#include "lab/end_station/mrp_pdu.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/lab/end_station/support.h"

namespace norvad::station {

namespace {

constexpr auto talkerAndListeners = R"(
    00                                  // protocol version
    01 19 00 1e                         // talker advertise, 25 bytes, list of 30
    00 01                               // one value
    02 00 00 00 00 01 00 01             // stream
    91 e0 f0 00 01 00 00 02             // destination, VLAN 2
    00 64 00 01 70 00 02 20 00          // 100 bytes, 1 frame, priority 3, 139264 ns
    00                                  // New
    00 00
    03 08 00 0f                         // listeners, list of 15
    20 04                               // LeaveAll, four values
    02 00 00 00 00 02 00 ff
    2a 6c                               // JoinIn, JoinIn, New; JoinMt, -, -
    6e                                  // asking failed, ready, ready failed, ready
    00 00
    00 00
)";

}  // namespace

TEST(StationMrpPdu, MsrpPduIsReadInItsOrder) {
    WrittenDown said;

    EXPECT_TRUE(ReadMrpPdu(msrpApplication, FromHex(talkerAndListeners), said));

    EXPECT_EQ(said.lines, (std::vector<std::string>{"1 event 0", "leave all 3", "3 event 1 declaration 1",
                                                    "3 event 1 declaration 2", "3 event 0 declaration 3",
                                                    "3 event 3 declaration 2"}));
    EXPECT_EQ(said.values[0].firstValue[0], 0x02);
    EXPECT_EQ(said.values[4].firstValue, FromHex("02 00 00 00 00 02 01 02"));  // 0x00ff and three more
}

TEST(StationMrpPdu, TalkersOfAVectorCountStreamAndDestination) {
    WrittenDown said;

    EXPECT_TRUE(ReadMrpPdu(msrpApplication, FromHex(R"(
        00 01 19 00 1e 00 02
        02 00 00 00 00 01 ff ff 91 e0 f0 00 01 ff 00 02 00 64 00 01 70 00 00 00 00
        2a 00 00 00 00)"),
                           said));

    ASSERT_EQ(said.values.size(), 2u);
    EXPECT_EQ(said.values[1].firstValue, FromHex("02 00 00 00 00 01 00 00 91 e0 f0 00 02 00 00 02"
                                                 "00 64 00 01 70 00 00 00 00"));
}

TEST(StationMrpPdu, DomainsOfAVectorCountClassAndPriority) {
    WrittenDown said;

    EXPECT_TRUE(ReadMrpPdu(msrpApplication, FromHex("00 04 04 00 09 00 02 05 02 00 02 2a 00 00 00 00"), said));

    ASSERT_EQ(said.values.size(), 2u);
    EXPECT_EQ(said.values[0].firstValue, FromHex("05 02 00 02"));
    EXPECT_EQ(said.values[1].firstValue, FromHex("06 03 00 02"));
}

TEST(StationMrpPdu, MvrpVectorsFollowOneAnotherUntilTheMark) {
    WrittenDown said;

    EXPECT_TRUE(ReadMrpPdu(mvrpApplication, FromHex("00 01 02 20 01 00 07 6c 00 02 00 ff b4 00 00 00 00"), said));

    EXPECT_EQ(said.lines, (std::vector<std::string>{"leave all 1", "1 event 3", "1 event 5", "1 event 0"}));
    EXPECT_EQ(said.values[2].firstValue, FromHex("01 00"));
}

TEST(StationMrpPdu, LeaveAllWithoutValuesIsRead) {
    WrittenDown said;

    EXPECT_TRUE(ReadMrpPdu(msrpApplication, FromHex("00 04 04 00 08 20 00 00 00 00 00 00 00 00 00"), said));

    EXPECT_EQ(said.lines, std::vector<std::string>{"leave all 4"});
}

TEST(StationMrpPdu, UnknownTypeIsSteppedOverWhereItsLengthIsTold) {
    WrittenDown said;

    EXPECT_TRUE(
        ReadMrpPdu(msrpApplication, FromHex("00 09 02 00 03 aa bb cc 04 04 00 09 00 01 05 02 00 02 00 00 00"), said));
    EXPECT_FALSE(ReadMrpPdu(mvrpApplication, FromHex("00 09 02 00 01 00 07 00 00 00 00 00"), said));

    EXPECT_EQ(said.lines, std::vector<std::string>{"4 event 0"});
}

TEST(StationMrpPdu, WrongAttributeLengthEndsThePdu) {
    WrittenDown said;

    EXPECT_FALSE(ReadMrpPdu(msrpApplication, FromHex("00 04 05 00 0a 00 01 05 02 00 02 00 00 00 00 00 00"), said));

    EXPECT_TRUE(said.lines.empty());
}

TEST(StationMrpPdu, EveryTruncationSaysNoMoreThanTheWholeAndIsNoticed) {
    const Bytes whole = FromHex(talkerAndListeners);
    WrittenDown all;
    ReadMrpPdu(msrpApplication, whole, all);
    const size_t endOfFirstMessage = 1 + 4 + 30;
    const size_t endOfMessages = whole.size() - 2;

    for (size_t length = 0; length < whole.size(); ++length) {
        WrittenDown said;
        // A copy of just that length, so that the sanitizer sees a read behind it.
        const Bytes cut = Part(whole, 0, length);
        const bool isWhole = ReadMrpPdu(msrpApplication, cut, said);
        EXPECT_EQ(isWhole, length == 1 || length == endOfFirstMessage || length == endOfMessages) << length;
        ASSERT_LE(said.lines.size(), all.lines.size()) << length;
        EXPECT_TRUE(std::equal(said.lines.begin(), said.lines.end(), all.lines.begin())) << length;
    }
}

TEST(StationMrpPdu, VectorThatReachesBeyondItsListSaysNothing) {
    WrittenDown said;

    EXPECT_FALSE(ReadMrpPdu(msrpApplication, FromHex("00 04 04 00 07 00 04 05 02 00 02 2a 24 00 00 00 00"), said));
    EXPECT_FALSE(ReadMrpPdu(msrpApplication, FromHex(R"(
        00 03 08 00 0c 00 05 02 00 00 00 00 01 00 01 2a 2a 00 00 00 00)"),
                            said));

    EXPECT_TRUE(said.lines.empty());
}

TEST(StationMrpPdu, RubbishIsReadWithinItsBytes) {
    std::mt19937 random(4711);
    const Bytes seed = FromHex(talkerAndListeners);
    size_t malformed = 0;

    for (int round = 0; round < 20'000; ++round) {
        Bytes bytes(seed.begin(), seed.begin() + static_cast<std::ptrdiff_t>(random() % (seed.size() + 1)));
        for (int change = 0; change < 4 && !bytes.empty(); ++change) {
            bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
        }
        WrittenDown said;
        if (!ReadMrpPdu(round % 2 == 0 ? msrpApplication : mvrpApplication, bytes, said)) ++malformed;
        for (const auto& value : said.values) ASSERT_LE(value.firstValue.size(), 34u);
    }

    EXPECT_GT(malformed, 10'000u);
}

TEST(StationMrpPdu, MsrpMessagesAreWrittenWithTheirListLength) {
    MrpPduWriter writer(msrpApplication);

    EXPECT_TRUE(writer.AddValue({LISTENER_VECTOR, FromHex("02 00 00 00 00 01 00 01"), ListenerDeclaration::READY},
                                AttributeEvent::JOINMT, false));
    EXPECT_TRUE(writer.AddValue({DOMAIN, FromHex("05 02 00 02")}, AttributeEvent::NEW, true));
    EXPECT_TRUE(writer.AddValue({DOMAIN, FromHex("06 03 00 02")}, AttributeEvent::LV, false));

    EXPECT_EQ(Copy(writer.Finish()), FromHex(R"(
        00
        03 08 00 0e  00 01  02 00 00 00 00 01 00 01  6c  80  00 00
        04 04 00 10  20 01  05 02 00 02  00                        // LeaveAll
                     00 01  06 03 00 02  b4  00 00
        00 00)"));
}

// A bridge may take each MVRP message for nine bytes, so that a second vector in it would be lost.
TEST(StationMrpPdu, EveryVlanHasAMessageOfItsOwn) {
    MrpPduWriter writer(mvrpApplication);

    EXPECT_TRUE(writer.AddValue({vlanAttribute, FromHex("00 07")}, AttributeEvent::NEW, true));
    EXPECT_TRUE(writer.AddValue({vlanAttribute, FromHex("01 00")}, AttributeEvent::JOIN, false));

    EXPECT_EQ(Copy(writer.Finish()), FromHex("00  01 02 20 01 00 07 00 00 00  01 02 00 01 01 00 24 00 00  00 00"));
}

TEST(StationMrpPdu, LeaveAllAloneHasAZeroValueAndNoEvents) {
    MrpPduWriter writer(msrpApplication);

    EXPECT_TRUE(writer.AddLeaveAll(msrpShapes[3]));

    EXPECT_EQ(Copy(writer.Finish()), FromHex("00 04 04 00 08 20 00 00 00 00 00 00 00 00 00"));
}

TEST(StationMrpPdu, FullPduTakesNoMoreAndFitsAFrame) {
    MrpPduWriter writer(msrpApplication);
    size_t values = 0;
    while (writer.AddValue({TALKER_ADVERTISE, Bytes(25)}, AttributeEvent::NEW, false)) ++values;

    const auto pdu = Copy(writer.Finish());
    WrittenDown said;

    EXPECT_EQ(values, 49u);  // of 28 bytes each in 1400
    EXPECT_LE(pdu.size(), 1400u);
    EXPECT_TRUE(ReadMrpPdu(msrpApplication, pdu, said));
    EXPECT_EQ(said.lines.size(), values);
}

TEST(StationMrpPdu, RestartedWriterForgetsWhatItWrote) {
    MrpPduWriter writer(msrpApplication);
    writer.AddValue({TALKER_ADVERTISE, Bytes(25, 0xFF)}, AttributeEvent::NEW, false);
    writer.Finish();

    writer.Restart();
    EXPECT_TRUE(writer.IsEmpty());
    writer.AddLeaveAll(msrpShapes[3]);

    EXPECT_EQ(Copy(writer.Finish()), FromHex("00 04 04 00 08 20 00 00 00 00 00 00 00 00 00"));
}

}  // namespace norvad::station
