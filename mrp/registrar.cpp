#include "mrp/registrar.h"

#include <array>

#include "base/log.h"

namespace norvad {

namespace {

enum class LeaveTimer : uint8_t { Keep, Start, Stop };

struct Step {
    RegistrarState next;
    Event indication = Event::UNDEFINED;
    LeaveTimer timer = LeaveTimer::Keep;
};

struct Row {
    Event event;
    std::array<Step, registrarStateCount> steps;  // in IN, LV, MT
};

constexpr auto registrarTable = [] {
    using enum RegistrarState;
    constexpr auto New = Event::NEW, Join = Event::JOIN, Leave = Event::LV, No = Event::UNDEFINED;
    constexpr auto Start = LeaveTimer::Start, Stop = LeaveTimer::Stop;
    // clang-format off
    return std::array<Row, eventCount>{{
        // event                     in IN            in LV             in MT
        {Event::RNEW,          {Step{IN, New},   Step{IN, New, Stop},  Step{IN, New}}},
        {Event::RJOIN_IN,      {Step{IN, Join},  Step{IN, Join, Stop}, Step{IN, Join}}},
        {Event::RIN,           {Step{IN},        Step{LV},             Step{MT}}},
        {Event::RJOINMT,       {Step{IN, Join},  Step{IN, Join, Stop}, Step{IN, Join}}},
        {Event::RMT,           {Step{IN},        Step{LV},             Step{MT}}},
        {Event::RLV,           {Step{LV, No, Start}, Step{LV},         Step{MT}}},
        {Event::RLA,           {Step{LV, No, Start}, Step{LV},         Step{MT}}},
        {Event::BEGIN,         {Step{MT},        Step{MT},             Step{MT}}},
        {Event::NEW,           {Step{IN},        Step{LV},             Step{MT}}},
        {Event::JOIN,          {Step{IN},        Step{LV},             Step{MT}}},
        {Event::LV,            {Step{IN},        Step{LV},             Step{MT}}},
        {Event::REDECLARE,     {Step{LV, No, Start}, Step{LV},         Step{MT}}},
        {Event::PERIODIC,      {Step{IN},        Step{LV},             Step{MT}}},
        {Event::TX,            {Step{IN},        Step{LV},             Step{MT}}},
        {Event::TX_LA,         {Step{LV, No, Start}, Step{LV},         Step{MT}}},
        {Event::TX_LAF,        {Step{IN},        Step{LV},             Step{MT}}},
        {Event::FLUSH,         {Step{MT, Leave}, Step{MT, Leave},      Step{MT, Leave}}},
        {Event::LEAVETIMER,    {Step{IN},        Step{MT, Leave},      Step{MT}}},
        {Event::LEAVEALLTIMER, {Step{IN},        Step{LV},             Step{MT}}},
        {Event::REPROPAGATE,   {Step{IN, New},   Step{LV, New},        Step{MT}}},
        {Event::UNDEFINED,     {Step{IN},        Step{LV},             Step{MT}}},
    }};
    // clang-format on
}();
static_assert(RowsAreInEventOrder(registrarTable));

void SetLeaveTimer(MRPAttributeState& attribute, LeaveTimer timer) {
    switch (timer) {
        case LeaveTimer::Keep:
            return;
        case LeaveTimer::Start:
            attribute.leaveTimer = leaveTimerTicks;
            return;
        case LeaveTimer::Stop:
            attribute.leaveTimer = leaveTimerStopped;
            return;
    }
}

}  // namespace

RegistrarState StepRegistrar(MRPAttributeState& attribute, Event event) {
    const auto& row = registrarTable.at(static_cast<size_t>(event));
    const Step& step = row.steps[static_cast<size_t>(attribute.registrar)];

    attribute.indication = step.indication;
    SetLeaveTimer(attribute, step.timer);
    if (!IsLogged(LogCategory::MRP, 1)) return step.next;
    log(LogCategory::MRP, 1, "[SW-MRP] Registrar state %s -> %s event %s\n", Name(attribute.registrar), Name(step.next),
        Name(step.indication));
    return step.next;
}

}  // namespace norvad
