#include "mrp/applicant.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/log.h"
#include "tests/mrp/grid.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

// One line an event, one column a state; a cell is next state/action, without an action where nothing is sent. All
// flags are clear and the registrar is not IN.
// clang-format off
constexpr auto applicantGrid = R"(
    event          VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
    RNEW           VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
    RJOIN_IN       AO       AP       VN       AN       QA       QA       LA       QO       QO       QP       QP       LO
    RIN            VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
    RJOINMT        VO       VP       VN       AN       AA       AA       LA       AO       AO       AP       AP       VO
    RMT            VO       VP       VN       AN       AA       AA       LA       AO       AO       AP       AP       VO
    RLV            LO       VP       VN       VN       VP       VP       LA       LO       LO       VP       VP       LO
    RLA            LO       VP       VN       VN       VP       VP       LA       LO       LO       VP       VP       LO
    BEGIN          VO       VO       VO       VO       VO       VO       VO       VO       VO       VO       VO       VO
    NEW            VN       VN       VN       AN       VN       VN       VN       VN       VN       VN       VN       VN
    JOIN           VP       VP       VN       AN       AA       QA       AA       AP       QP       AP       QP       VP
    LV             VO       VO       LA       LA       LA       LA       LA       AO       QO       AO       QO       LO
    REDECLARE      LO       VP       VN       VN       VP       VP       LA       LO       LO       VP       VP       LO
    PERIODIC       VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
    TX             VO       AA/JOIN  AN/NEW   AA/NEW   QA/JOIN  QA       VO/LEAVE AO       QO       QA/JOIN  QP       VO/IN
    TX_LA          LO       AA/IN    AN/NEW   QA/NEW   QA/JOIN  QA/JOIN  LO       LO       LO       QA/JOIN  QA/JOIN  LO
    TX_LAF         LO       VP       VN       VN       VP       VP       LO       LO       LO       VP       VP       LO
    FLUSH          VO       VO       VO       VO       VO       VO       VO       VO       VO       VO       VO       VO
    LEAVETIMER     VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
    LEAVEALLTIMER  VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
    REPROPAGATE    VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
    UNDEFINED      VO       VP       VN       AN       AA       QA       LA       AO       QO       AP       QP       LO
)";
// clang-format on

// The cells that read differently with one of the flags set or with the registrar IN.
constexpr auto exceptions = R"(
    condition-event          VP    AN      AA    QA    QP
    pointToPoint-RJOIN_IN    VP    -       AA    -     -
    pointToPoint-RIN         -     -       QA    -     -
    periodic-PERIODIC        -     -       -     AA    AP
    registered-TX            -     QA/NEW  -     -     -
)";

std::string ExpectedCell(const std::string& event, const std::string& state, const MRPAttributeState& attribute) {
    static const Grid grid = ParseGrid(applicantGrid);
    static const Grid changes = ParseGrid(exceptions);
    const auto change = [&](const std::string& condition) {
        const auto found = changes.find({condition + "-" + event, state});
        return found == changes.end() || found->second == "-" ? std::string() : found->second;
    };
    std::string cell;
    if (attribute.pointToPoint) cell = change("pointToPoint");
    if (cell.empty() && attribute.periodic) cell = change("periodic");
    if (cell.empty() && attribute.registrar == RegistrarState::IN) cell = change("registered");
    return cell.empty() ? grid.at({event, state}) : cell;
}

std::string ActualCell(MRPAttributeState& attribute, Event event) {
    const ApplicantState next = StepApplicant(attribute, event);
    const std::string action = attribute.action == TxAction::NONE ? "" : std::string("/") + Name(attribute.action);
    return Name(next) + action;
}

TEST(Applicant, EveryCellUnderEveryConditionReadsAsPrinted) {
    for (const Event event : AllOf<Event>(eventCount)) {
        for (const ApplicantState state : AllOf<ApplicantState>(applicantStateCount)) {
            for (const RegistrarState registrar : AllOf<RegistrarState>(registrarStateCount)) {
                for (const int flags : {0, 1, 2, 3}) {
                    MRPAttributeState attribute;
                    attribute.applicant = state;
                    attribute.registrar = registrar;
                    attribute.pointToPoint = (flags & 1) != 0;
                    attribute.periodic = (flags & 2) != 0;

                    const std::string expected = ExpectedCell(Name(event), Name(state), attribute);

                    EXPECT_EQ(ActualCell(attribute, event), expected)
                        << Name(event) << " in " << Name(state) << " registrar " << Name(registrar) << " flags "
                        << flags;
                }
            }
        }
    }
}

TEST(Applicant, NewInAnStaysAndInQaStartsOver) {
    MRPAttributeState attribute;

    attribute.applicant = ApplicantState::AN;
    EXPECT_EQ(StepApplicant(attribute, Event::NEW), ApplicantState::AN);
    attribute.applicant = ApplicantState::QA;
    EXPECT_EQ(StepApplicant(attribute, Event::NEW), ApplicantState::VN);
}

TEST(Applicant, SecondNewIsRepeatedAsJoinWhileTheRegistrarIsLeaving) {
    MRPAttributeState attribute;
    attribute.applicant = ApplicantState::AN;
    attribute.registrar = RegistrarState::LV;

    EXPECT_EQ(StepApplicant(attribute, Event::TX), ApplicantState::AA);
    EXPECT_EQ(attribute.action, TxAction::NEW);
}

TEST(Applicant, PeriodicWithoutTheFlagLeavesQaAlone) {
    MRPAttributeState attribute;
    attribute.applicant = ApplicantState::QA;

    EXPECT_EQ(StepApplicant(attribute, Event::PERIODIC), ApplicantState::QA);
    EXPECT_EQ(attribute.action, TxAction::NONE);
}

TEST(Applicant, EveryStepReplacesTheActionAndClearsTheTransmitMark) {
    MRPAttributeState attribute;
    attribute.action = TxAction::LEAVE;
    attribute.transmitMark = 7;

    StepApplicant(attribute, Event::RIN);

    EXPECT_EQ(attribute.action, TxAction::NONE);
    EXPECT_EQ(attribute.transmitMark, 0u);
}

TEST(Applicant, StatesWithSomethingToSendAreThoseThatTxMakesSend) {
    for (const ApplicantState state : AllOf<ApplicantState>(applicantStateCount)) {
        MRPAttributeState attribute;
        attribute.applicant = state;

        StepApplicant(attribute, Event::TX);

        EXPECT_EQ(HasSomethingToSend(state), attribute.action != TxAction::NONE) << Name(state);
    }
}

TEST(Applicant, AStepIsLoggedAtLevelTwo) {
    MRPAttributeState attribute;
    attribute.applicant = ApplicantState::VN;
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<const void*>(&attribute));

    CapturedLog captured(LogCategory::MRP, 2);
    StepApplicant(attribute, Event::TX);

    EXPECT_THAT(captured.Lines(),
                testing::ElementsAre("[SW-MRP] (" + std::string(address) + ") Event TX: Applicant state VN -> AN",
                                     "[SW-MRP] action NEW optional 0"));
}

TEST(Applicant, AStepIsSilentAtLevelOne) {
    MRPAttributeState attribute;

    CapturedLog captured(LogCategory::MRP, 1);
    StepApplicant(attribute, Event::JOIN);

    EXPECT_THAT(captured.Lines(), testing::IsEmpty());
}

}  // namespace
}  // namespace norvad::test
