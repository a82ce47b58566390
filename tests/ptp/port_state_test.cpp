#include "ptp/port_state.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/ptp/ptp_fixture.h"

namespace norvad::test {

namespace {

using enum PortStateEvent;

// One line an event, one column a state; a cell is the next state, - is none. The letter behind the event tells
// whether a device that may not become grandmaster heeds it (y) or not (n).
constexpr auto portStateGrid = R"(
    event                noGM  INITIALIZING  LISTENING  ANNOUNCE   SLAVE      MASTER
    START                y     LISTENING     -          -          -          -
    NEIGHBOUR_FOUND      n     -             ANNOUNCE   -          -          -
    NEW_PRIORITY         n     ANNOUNCE      ANNOUNCE   ANNOUNCE   ANNOUNCE   ANNOUNCE
    FOREIGN_IS_WORSE     n     -             MASTER     MASTER     -          -
    FOREIGN_IS_BETTER    y     SLAVE         SLAVE      SLAVE      SLAVE      SLAVE
    LOCAL_IS_BETTER      n     MASTER        MASTER     MASTER     MASTER     MASTER
    NO_BETTER_ANNOUNCED  n     -             -          MASTER     -          -
    SYNC_STOPPED         y     -             -          -          LISTENING  -
)";

const std::map<std::string, PortStateEvent> events{{"START", START},
                                                   {"NEIGHBOUR_FOUND", NEIGHBOUR_FOUND},
                                                   {"NEW_PRIORITY", NEW_PRIORITY},
                                                   {"FOREIGN_IS_WORSE", FOREIGN_IS_WORSE},
                                                   {"FOREIGN_IS_BETTER", FOREIGN_IS_BETTER},
                                                   {"LOCAL_IS_BETTER", LOCAL_IS_BETTER},
                                                   {"NO_BETTER_ANNOUNCED", NO_BETTER_ANNOUNCED},
                                                   {"SYNC_STOPPED", SYNC_STOPPED}};

const std::map<std::string, PortState> states{{"INITIALIZING", PortState::INITIALIZING},
                                              {"LISTENING", PortState::LISTENING},
                                              {"ANNOUNCE", PortState::ANNOUNCE},
                                              {"SLAVE", PortState::SLAVE},
                                              {"MASTER", PortState::MASTER}};

// A machine brought to a state by its events; null for a state that is out of reach without the right to become
// grandmaster.
std::unique_ptr<PortStateMachine> MachineIn(PortState state, bool noGM) {
    auto machine = std::make_unique<PortStateMachine>(noGM);
    if (state == PortState::INITIALIZING) return machine;
    machine->Step(START);
    if (state == PortState::ANNOUNCE) machine->Step(NEIGHBOUR_FOUND);
    if (state == PortState::SLAVE) machine->Step(FOREIGN_IS_BETTER);
    if (state == PortState::MASTER) machine->Step(LOCAL_IS_BETTER);
    return machine->State() == state ? std::move(machine) : nullptr;
}

TEST(PortState, MovesAsTheGridSays) {
    std::istringstream grid(portStateGrid);
    std::string event, word, heededWithNoGM;
    grid >> event >> word;
    std::vector<std::string> columns(states.size());
    for (std::string& column : columns) grid >> column;

    size_t cells = 0, unreachable = 0;
    while (grid >> event >> heededWithNoGM) {
        for (const std::string& column : columns) {
            grid >> word;
            for (const bool noGM : {false, true}) {
                const auto machine = MachineIn(states.at(column), noGM);
                ++cells;
                if (!machine) {
                    ++unreachable;
                    continue;
                }
                const bool heeds = word != "-" && (!noGM || heededWithNoGM == "y");
                EXPECT_EQ(machine->Heeds(events.at(event)), heeds) << event << " in " << column << noGM;
                EXPECT_EQ(machine->Step(events.at(event)), heeds) << event << " in " << column << noGM;
                EXPECT_EQ(machine->State(), states.at(heeds ? word : column)) << event << " in " << column << noGM;
            }
        }
    }
    EXPECT_EQ(cells, portStateEventCount * portStateCount * 2);
    EXPECT_EQ(unreachable, portStateEventCount * 2) << "ANNOUNCE and MASTER without the right";
}

TEST(PortState, EverySwitchIsToldBeforeItHolds) {
    PortStateMachine machine(false);
    std::vector<PortState> left;
    machine.OnSwitch([&] { left.push_back(machine.State()); });

    for (const PortStateEvent event : {START, FOREIGN_IS_BETTER, FOREIGN_IS_BETTER}) ASSERT_TRUE(machine.Step(event));

    EXPECT_THAT(left, testing::ElementsAre(PortState::INITIALIZING, PortState::LISTENING, PortState::SLAVE));
}

TEST(PortState, EventThatIsNotHeededIsNotTold) {
    PortStateMachine machine(false);
    bool told = false;
    machine.OnSwitch([&] { told = true; });

    EXPECT_FALSE(machine.Step(SYNC_STOPPED));

    EXPECT_FALSE(told);
}

TEST(PortState, SwitchesAreLoggedByName) {
    PortStateMachine machine(false);
    CapturedLog capture(LogCategory::PTP, 1);
    for (const PortStateEvent event : {START, NEW_PRIORITY, FOREIGN_IS_BETTER, LOCAL_IS_BETTER}) machine.Step(event);
    const std::string text = capture.Text();

    size_t at = 0;
    for (const char* name : {"PTP_LISTENING", "PTP_ANNOUNCE", "PTP_SLAVE", "PTP_MASTER"}) {
        at = text.find("[SW-PTP] switching to state " + std::string(name) + "\n", at);
        EXPECT_NE(at, std::string::npos) << name;
    }
}

}  // namespace

}  // namespace norvad::test
