// From which level on each text is logged.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mrp/mrpdu.h"
#include "tests/mrp/test_participant.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

constexpr int32_t highestLevel = 6;

constexpr struct {
    int32_t level;
    const char* text;
} texts[] = {
    {0, "Error, invalid RX EVENT 7\n"},
    {1, "[SW-MRP] LeaveAll state PASSIVE -> PASSIVE event NONE\n"},
    {1, "[SW-MRP] Registrar state MT -> IN event NEW\n"},
    {2, "[SW-MRP] RunAttributeStateMachines: Event RNEW\n"},
    {2, ") Event RNEW: Applicant state VO -> VO\n"},
    {2, "[SW-MRP] action NONE optional 0\n"},
    {2, "sending attribute NEW\n"},
    {6, "AttributeGetter::GetNext total len=6 offset=0 attr_len=1\n"},
    {6, "AttributeGetter::GetNext offset=0 attr_len=1\n"},
    {6, "AttributeGetter::GetNext offset = 4 , num_of_events = 3\n"},
};

// Makes every text once.
std::string LoggedAt(int32_t level) {
    ParticipantBench bench;
    TestAttribute& attribute = bench.mrp.Add(1, 0, 5);
    Bytes listed = FromHex("01 01 00 06 00 03 aa 28 00 00"), unlisted = FromHex("01 01 00 03 aa 28 00 00");

    CapturedLog captured(LogCategory::MRP, level);
    (void)ReceiveEvent(7);
    bench.mrp.Run(attribute, Event::RNEW);
    bench.mrp.Run(attribute, Event::NEW);
    bench.mrp.BuildPdu(0);
    (void)AttributeGetter(listed, MessageLayout::WithListLength, false).GetNext();
    (void)AttributeGetter(unlisted, MessageLayout::WithoutListLength, false).GetNext();

    std::string text;
    for (const std::string& line : captured.Lines()) text += line + "\n";
    return text;
}

TEST(MrpLogLevels, EveryTextAppearsFromItsOwnLevelOn) {
    for (int32_t level = -1; level <= highestLevel; ++level) {
        const std::string logged = LoggedAt(level);
        for (const auto& expected : texts) {
            EXPECT_EQ(logged.find(expected.text) != std::string::npos, level >= expected.level)
                << expected.text << "at level " << level;
        }
    }
}

}  // namespace
}  // namespace norvad::test
