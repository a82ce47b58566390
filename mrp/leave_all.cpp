#include "mrp/leave_all.h"

#include <array>

#include "base/log.h"

namespace norvad {

namespace {

struct Step {
    LeaveAllState next;
    TxAction action = TxAction::NONE;
    bool restartsTimer = false;
};

struct Row {
    Event event;
    std::array<Step, 2> steps;  // in ACTIVE, PASSIVE
};

constexpr auto leaveAllTable = [] {
    using enum LeaveAllState;
    constexpr auto Send = TxAction::TX_LA, No = TxAction::NONE;
    constexpr bool Restart = true;
    // clang-format off
    return std::array<Row, eventCount>{{
        // event                      in ACTIVE                  in PASSIVE
        {Event::RNEW,          {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::RJOIN_IN,      {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::RIN,           {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::RJOINMT,       {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::RMT,           {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::RLV,           {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::RLA,           {Step{PASSIVE, No, Restart}, Step{PASSIVE, No, Restart}}},
        {Event::BEGIN,         {Step{PASSIVE, No, Restart}, Step{PASSIVE, No, Restart}}},
        {Event::NEW,           {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::JOIN,          {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::LV,            {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::REDECLARE,     {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::PERIODIC,      {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::TX,            {Step{PASSIVE, Send},        Step{PASSIVE}}},
        {Event::TX_LA,         {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::TX_LAF,        {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::FLUSH,         {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::LEAVETIMER,    {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::LEAVEALLTIMER, {Step{ACTIVE, No, Restart},  Step{ACTIVE, No, Restart}}},
        {Event::REPROPAGATE,   {Step{ACTIVE},               Step{PASSIVE}}},
        {Event::UNDEFINED,     {Step{ACTIVE},               Step{PASSIVE}}},
    }};
    // clang-format on
}();
static_assert(RowsAreInEventOrder(leaveAllTable));

}  // namespace

bool StepLeaveAll(LeaveAll& leaveAll, Event event) {
    const auto& row = leaveAllTable.at(static_cast<size_t>(event));
    const Step& step = row.steps[static_cast<size_t>(leaveAll.state)];

    if (IsLogged(LogCategory::MRP, 1)) {
        log(LogCategory::MRP, 1, "[SW-MRP] LeaveAll state %s -> %s event %s\n", Name(leaveAll.state), Name(step.next),
            Name(step.action));
    }
    leaveAll.state = step.next;
    leaveAll.action = step.action;
    return step.restartsTimer;
}

}  // namespace norvad
