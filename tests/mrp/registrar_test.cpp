#include "mrp/registrar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mrp/grid.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

// One line an event, one column a state; a cell is next state/indication/what happens to the leave timer.
constexpr auto registrarGrid = R"(
    event            IN              LV              MT
    RNEW             IN/NEW/-        IN/NEW/stop     IN/NEW/-
    RJOIN_IN         IN/JOIN/-       IN/JOIN/stop    IN/JOIN/-
    RIN              IN/-/-          LV/-/-          MT/-/-
    RJOINMT          IN/JOIN/-       IN/JOIN/stop    IN/JOIN/-
    RMT              IN/-/-          LV/-/-          MT/-/-
    RLV              LV/-/start      LV/-/-          MT/-/-
    RLA              LV/-/start      LV/-/-          MT/-/-
    BEGIN            MT/-/-          MT/-/-          MT/-/-
    NEW              IN/-/-          LV/-/-          MT/-/-
    JOIN             IN/-/-          LV/-/-          MT/-/-
    LV               IN/-/-          LV/-/-          MT/-/-
    REDECLARE        LV/-/start      LV/-/-          MT/-/-
    PERIODIC         IN/-/-          LV/-/-          MT/-/-
    TX               IN/-/-          LV/-/-          MT/-/-
    TX_LA            LV/-/start      LV/-/-          MT/-/-
    TX_LAF           IN/-/-          LV/-/-          MT/-/-
    FLUSH            MT/LV/-         MT/LV/-         MT/LV/-
    LEAVETIMER       IN/-/-          MT/LV/-         MT/-/-
    LEAVEALLTIMER    IN/-/-          LV/-/-          MT/-/-
    REPROPAGATE      IN/NEW/-        LV/NEW/-        MT/-/-
    UNDEFINED        IN/-/-          LV/-/-          MT/-/-
)";

constexpr int32_t runningTicks = 3;

std::string TimerText(int32_t ticks) {
    if (ticks == 5) return "start";
    if (ticks == -1) return "stop";
    return ticks == runningTicks ? "-" : "set to " + std::to_string(ticks);
}

std::string ActualCell(RegistrarState state, Event event) {
    MRPAttributeState attribute;
    attribute.registrar = state;
    attribute.leaveTimer = runningTicks;
    attribute.indication = Event::RMT;  // anything a step would have to replace
    const RegistrarState next = StepRegistrar(attribute, event);
    const bool indicates = attribute.indication != Event::UNDEFINED;
    return std::string(Name(next)) + "/" + (indicates ? Name(attribute.indication) : "-") + "/" +
           TimerText(attribute.leaveTimer);
}

TEST(Registrar, EveryCellReadsAsPrinted) {
    const Grid grid = ParseGrid(registrarGrid);

    for (const Event event : AllOf<Event>(eventCount)) {
        for (const RegistrarState state : AllOf<RegistrarState>(registrarStateCount)) {
            EXPECT_EQ(ActualCell(state, event), grid.at({Name(event), Name(state)}))
                << Name(event) << " in " << Name(state);
        }
    }
}

TEST(Registrar, TwoJoinsInARowIndicateTwice) {
    MRPAttributeState attribute;

    attribute.registrar = StepRegistrar(attribute, Event::RJOIN_IN);
    EXPECT_EQ(attribute.indication, Event::JOIN);
    attribute.registrar = StepRegistrar(attribute, Event::RJOIN_IN);
    EXPECT_EQ(attribute.indication, Event::JOIN);
    EXPECT_EQ(attribute.registrar, RegistrarState::IN);
}

TEST(Registrar, LeaveTimerDeregistersOnlyWhileLeaving) {
    MRPAttributeState attribute;
    attribute.registrar = RegistrarState::IN;
    EXPECT_EQ(StepRegistrar(attribute, Event::LEAVETIMER), RegistrarState::IN);
    EXPECT_EQ(attribute.indication, Event::UNDEFINED);

    attribute.registrar = RegistrarState::LV;
    EXPECT_EQ(StepRegistrar(attribute, Event::LEAVETIMER), RegistrarState::MT);
    EXPECT_EQ(attribute.indication, Event::LV);
}

TEST(Registrar, AStepIsLoggedAtLevelOneWithTheIndication) {
    MRPAttributeState attribute;

    CapturedLog captured(LogCategory::MRP, 1);
    attribute.registrar = StepRegistrar(attribute, Event::RNEW);
    attribute.registrar = StepRegistrar(attribute, Event::RLV);

    EXPECT_THAT(captured.Lines(), testing::ElementsAre("[SW-MRP] Registrar state MT -> IN event NEW",
                                                       "[SW-MRP] Registrar state IN -> LV event UNDEFINED"));
}

}  // namespace
}  // namespace norvad::test
