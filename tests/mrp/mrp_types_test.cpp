#include "mrp/mrp_types.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mrp/grid.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

template <typename Enum>
std::vector<std::string> NamesOf(size_t count) {
    std::vector<std::string> names;
    for (const Enum value : AllOf<Enum>(count)) names.push_back(Name(value));
    return names;
}

TEST(MrpTypes, NamesStandInTheOrderOfTheCodes) {
    EXPECT_EQ(
        NamesOf<Event>(eventCount),
        WordsOf("RNEW RJOIN_IN RIN RJOINMT RMT RLV RLA BEGIN NEW JOIN LV REDECLARE PERIODIC TX TX_LA TX_LAF FLUSH "
                "LEAVETIMER LEAVEALLTIMER REPROPAGATE UNDEFINED"));
    EXPECT_EQ(NamesOf<AttributeEvent>(6), WordsOf("NEW JOIN IN JOINMT MT LV"));
    EXPECT_EQ(NamesOf<ApplicantState>(12), WordsOf("VO VP VN AN AA QA LA AO QO AP QP LO"));
    EXPECT_EQ(NamesOf<RegistrarState>(3), WordsOf("IN LV MT"));
    EXPECT_EQ(NamesOf<LeaveAllState>(2), WordsOf("ACTIVE PASSIVE"));
    EXPECT_EQ(NamesOf<TxAction>(6), WordsOf("NEW JOIN IN LEAVE TX_LA NONE"));
    EXPECT_EQ(NamesOf<ListenerDeclaration>(5), WordsOf("IGNORE ASKING_FAILED READY READY_FAILED UNKNOWN"));
}

TEST(MrpTypes, ReceivableEventsPassUnchanged) {
    CapturedLog captured(LogCategory::MRP);

    for (const uint8_t value : std::initializer_list<uint8_t>{0, 1, 2, 3, 4, 5, 8, 9, 10}) {
        EXPECT_EQ(static_cast<uint8_t>(ReceiveEvent(value)), value);
    }

    EXPECT_THAT(captured.Lines(), testing::IsEmpty());
}

TEST(MrpTypes, AnyOtherReceivedValueIsLoggedAndBecomesUndefined) {
    CapturedLog captured(LogCategory::MRP);

    for (const uint8_t value : std::initializer_list<uint8_t>{6, 7, 11, 20, 255})
        EXPECT_EQ(ReceiveEvent(value), Event::UNDEFINED);

    EXPECT_THAT(captured.Lines(), testing::ElementsAre("Error, invalid RX EVENT 6", "Error, invalid RX EVENT 7",
                                                       "Error, invalid RX EVENT 11", "Error, invalid RX EVENT 20",
                                                       "Error, invalid RX EVENT 255"));
}

TEST(MrpTypes, OnlyDeclaringEventsCreate) {
    std::vector<std::string> creating;
    for (const Event event : AllOf<Event>(eventCount)) {
        if (IsCreating(event)) creating.push_back(Name(event));
    }

    EXPECT_EQ(creating, WordsOf("RNEW RJOIN_IN RIN RJOINMT NEW JOIN"));
}

TEST(PortSet, HoldsPortsBelow32Only) {
    PortSet ports;
    EXPECT_TRUE(ports.IsEmpty());

    ports.Add(0);
    ports.Add(31);
    ports.Add(32);
    EXPECT_TRUE(ports.Contains(0));
    EXPECT_TRUE(ports.Contains(31));
    EXPECT_FALSE(ports.Contains(32));

    ports.Remove(32);
    ports.Remove(0);
    EXPECT_FALSE(ports.Contains(0));
    EXPECT_FALSE(ports.IsEmpty());
    ports.Remove(31);
    EXPECT_TRUE(ports.IsEmpty());
}

}  // namespace
}  // namespace norvad::test
