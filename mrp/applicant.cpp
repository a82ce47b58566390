#include "mrp/applicant.h"

#include <array>

#include "base/log.h"

namespace norvad {

namespace {

// What a cell's transition depends on.
enum class Guard : uint8_t { Always, SharedLink, PointToPointLink, PeriodicAttribute, RegistrarIn };

struct Step {
    ApplicantState next;
    TxAction action = TxAction::NONE;
    Guard guard = Guard::Always;
    ApplicantState otherwise = next;  // when the guard does not hold; the action stays
};

struct Row {
    Event event;
    std::array<Step, applicantStateCount> steps;  // one for each state
};

// Cells: a bare state is a move without an action; New, Join, In and Lv move and send; the named ones are guarded.
constexpr Step VO{ApplicantState::VO}, VP{ApplicantState::VP}, VN{ApplicantState::VN}, AN{ApplicantState::AN};
constexpr Step AA{ApplicantState::AA}, QA{ApplicantState::QA}, LA{ApplicantState::LA}, AO{ApplicantState::AO};
constexpr Step QO{ApplicantState::QO}, AP{ApplicantState::AP}, QP{ApplicantState::QP}, LO{ApplicantState::LO};

constexpr Step New(Step to) {
    return {to.next, TxAction::NEW};
}
constexpr Step Join(Step to) {
    return {to.next, TxAction::JOIN};
}
constexpr Step In(Step to) {
    return {to.next, TxAction::IN};
}
constexpr Step Lv(Step to) {
    return {to.next, TxAction::LEAVE};
}
constexpr Step If(Guard guard, Step to, Step otherwise) {
    return {to.next, to.action, guard, otherwise.next};
}

constexpr Step SharedAP = If(Guard::SharedLink, AP, VP);
constexpr Step SharedQA = If(Guard::SharedLink, QA, AA);
constexpr Step DirectQA = If(Guard::PointToPointLink, QA, AA);
constexpr Step PeriodAA = If(Guard::PeriodicAttribute, AA, QA);
constexpr Step PeriodAP = If(Guard::PeriodicAttribute, AP, QP);
// Where the peer's registration answers it, the second New is the last; else the declaration is repeated.
constexpr Step NewAgain = If(Guard::RegistrarIn, New(QA), AA);

using enum Event;

// clang-format off
constexpr std::array<Row, eventCount> applicantTable{{
    // event           VO  VP        VN       AN        AA        QA        LA      AO  QO  AP        QP        LO
    {RNEW,          {VO, VP,       VN,      AN,       AA,       QA,       LA,     AO, QO, AP,       QP,       LO}},
    {RJOIN_IN,      {AO, SharedAP, VN,      AN,       SharedQA, QA,       LA,     QO, QO, QP,       QP,       LO}},
    {RIN,           {VO, VP,       VN,      AN,       DirectQA, QA,       LA,     AO, QO, AP,       QP,       LO}},
    {RJOINMT,       {VO, VP,       VN,      AN,       AA,       AA,       LA,     AO, AO, AP,       AP,       VO}},
    {RMT,           {VO, VP,       VN,      AN,       AA,       AA,       LA,     AO, AO, AP,       AP,       VO}},
    {RLV,           {LO, VP,       VN,      VN,       VP,       VP,       LA,     LO, LO, VP,       VP,       LO}},
    {RLA,           {LO, VP,       VN,      VN,       VP,       VP,       LA,     LO, LO, VP,       VP,       LO}},
    {BEGIN,         {VO, VO,       VO,      VO,       VO,       VO,       VO,     VO, VO, VO,       VO,       VO}},
    {NEW,           {VN, VN,       VN,      AN,       VN,       VN,       VN,     VN, VN, VN,       VN,       VN}},
    {JOIN,          {VP, VP,       VN,      AN,       AA,       QA,       AA,     AP, QP, AP,       QP,       VP}},
    {LV,            {VO, VO,       LA,      LA,       LA,       LA,       LA,     AO, QO, AO,       QO,       LO}},
    {REDECLARE,     {LO, VP,       VN,      VN,       VP,       VP,       LA,     LO, LO, VP,       VP,       LO}},
    {PERIODIC,      {VO, VP,       VN,      AN,       AA,       PeriodAA, LA,     AO, QO, AP,       PeriodAP, LO}},
    {TX,            {VO, Join(AA), New(AN), NewAgain, Join(QA), QA,       Lv(VO), AO, QO, Join(QA), QP,       In(VO)}},
    {TX_LA,         {LO, In(AA),   New(AN), New(QA),  Join(QA), Join(QA), LO,     LO, LO, Join(QA), Join(QA), LO}},
    {TX_LAF,        {LO, VP,       VN,      VN,       VP,       VP,       LO,     LO, LO, VP,       VP,       LO}},
    {FLUSH,         {VO, VO,       VO,      VO,       VO,       VO,       VO,     VO, VO, VO,       VO,       VO}},
    {LEAVETIMER,    {VO, VP,       VN,      AN,       AA,       QA,       LA,     AO, QO, AP,       QP,       LO}},
    {LEAVEALLTIMER, {VO, VP,       VN,      AN,       AA,       QA,       LA,     AO, QO, AP,       QP,       LO}},
    {REPROPAGATE,   {VO, VP,       VN,      AN,       AA,       QA,       LA,     AO, QO, AP,       QP,       LO}},
    {UNDEFINED,     {VO, VP,       VN,      AN,       AA,       QA,       LA,     AO, QO, AP,       QP,       LO}},
}};
// clang-format on
static_assert(RowsAreInEventOrder(applicantTable));

// The row without transitions names every column's own state.
constexpr bool ColumnsAreInStateOrder() {
    const auto& quiet = applicantTable[static_cast<size_t>(Event::UNDEFINED)].steps;
    for (size_t column = 0; column < quiet.size(); ++column) {
        if (static_cast<size_t>(quiet[column].next) != column) return false;
    }
    return true;
}
static_assert(ColumnsAreInStateOrder());

bool Holds(Guard guard, const MRPAttributeState& attribute) {
    switch (guard) {
        case Guard::Always:
            return true;
        case Guard::SharedLink:
            return !attribute.pointToPoint;
        case Guard::PointToPointLink:
            return attribute.pointToPoint;
        case Guard::PeriodicAttribute:
            return attribute.periodic;
        case Guard::RegistrarIn:
            return attribute.registrar == RegistrarState::IN;
    }
    return false;
}

}  // namespace

ApplicantState StepApplicant(MRPAttributeState& attribute, Event event) {
    const auto& row = applicantTable.at(static_cast<size_t>(event));
    const Step& step = row.steps[static_cast<size_t>(attribute.applicant)];
    const ApplicantState next = Holds(step.guard, attribute) ? step.next : step.otherwise;

    attribute.action = step.action;
    attribute.transmitMark = 0;
    if (!IsLogged(LogCategory::MRP, 2)) return next;
    log(LogCategory::MRP, 2, "[SW-MRP] (%p) Event %s: Applicant state %s -> %s\n", static_cast<const void*>(&attribute),
        Name(event), Name(attribute.applicant), Name(next));
    log(LogCategory::MRP, 2, "[SW-MRP] action %s optional %d\n", Name(step.action), 0);
    return next;
}

}  // namespace norvad
