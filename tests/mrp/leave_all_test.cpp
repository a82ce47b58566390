#include "mrp/leave_all.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mrp/grid.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

// One line an event, one column a state; a cell is next state/action/what happens to the leave-all timer.
constexpr auto leaveAllGrid = R"(
    event            ACTIVE               PASSIVE
    RNEW             ACTIVE/NONE/-        PASSIVE/NONE/-
    RJOIN_IN         ACTIVE/NONE/-        PASSIVE/NONE/-
    RIN              ACTIVE/NONE/-        PASSIVE/NONE/-
    RJOINMT          ACTIVE/NONE/-        PASSIVE/NONE/-
    RMT              ACTIVE/NONE/-        PASSIVE/NONE/-
    RLV              ACTIVE/NONE/-        PASSIVE/NONE/-
    RLA              PASSIVE/NONE/start   PASSIVE/NONE/start
    BEGIN            PASSIVE/NONE/start   PASSIVE/NONE/start
    NEW              ACTIVE/NONE/-        PASSIVE/NONE/-
    JOIN             ACTIVE/NONE/-        PASSIVE/NONE/-
    LV               ACTIVE/NONE/-        PASSIVE/NONE/-
    REDECLARE        ACTIVE/NONE/-        PASSIVE/NONE/-
    PERIODIC         ACTIVE/NONE/-        PASSIVE/NONE/-
    TX               PASSIVE/TX_LA/-      PASSIVE/NONE/-
    TX_LA            ACTIVE/NONE/-        PASSIVE/NONE/-
    TX_LAF           ACTIVE/NONE/-        PASSIVE/NONE/-
    FLUSH            ACTIVE/NONE/-        PASSIVE/NONE/-
    LEAVETIMER       ACTIVE/NONE/-        PASSIVE/NONE/-
    LEAVEALLTIMER    ACTIVE/NONE/start    ACTIVE/NONE/start
    REPROPAGATE      ACTIVE/NONE/-        PASSIVE/NONE/-
    UNDEFINED        ACTIVE/NONE/-        PASSIVE/NONE/-
)";

std::string ActualCell(LeaveAllState state, Event event) {
    LeaveAll leaveAll{state, TxAction::LEAVE};  // an action that every step has to replace
    const bool restarts = StepLeaveAll(leaveAll, event);
    return std::string(Name(leaveAll.state)) + "/" + Name(leaveAll.action) + "/" + (restarts ? "start" : "-");
}

TEST(LeaveAllMachine, EveryCellReadsAsPrinted) {
    const Grid grid = ParseGrid(leaveAllGrid);

    for (const Event event : AllOf<Event>(eventCount)) {
        for (const LeaveAllState state : {LeaveAllState::ACTIVE, LeaveAllState::PASSIVE}) {
            EXPECT_EQ(ActualCell(state, event), grid.at({Name(event), Name(state)}))
                << Name(event) << " in " << Name(state);
        }
    }
}

TEST(LeaveAllMachine, AStepIsLoggedAtLevelOneWithTheAction) {
    LeaveAll leaveAll;

    CapturedLog captured(LogCategory::MRP, 1);
    StepLeaveAll(leaveAll, Event::LEAVEALLTIMER);
    StepLeaveAll(leaveAll, Event::TX);

    EXPECT_THAT(captured.Lines(), testing::ElementsAre("[SW-MRP] LeaveAll state PASSIVE -> ACTIVE event NONE",
                                                       "[SW-MRP] LeaveAll state ACTIVE -> PASSIVE event TX_LA"));
}

}  // namespace
}  // namespace norvad::test
