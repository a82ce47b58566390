#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/board/status_report.h"
#include "tests/lab/board/support.h"

namespace norvad::board::test {
namespace {

using testing::HasSubstr;

class StatusReportTest : public BoardTest {};

TEST_F(StatusReportTest, ShowsTablesAndCounters) {
    const MacAddress stream{0x91, 0xE0, 0xF0, 0, 1, 0};
    AddMulticast(0x02, 2, stream);
    SetVlan(1, 0x03, 10);
    Request(EgressLimitRecord{Command(SwitchCommand::SWITCH_EGRESS_LIMIT), 1, 2, 1'200'000});
    const auto frame = Join({FromHex("91 e0 f0 00 01 00  02 00 00 00 00 05  81 00 60 02 22 f0"), Bytes(46)});
    board.FrameArrived(0, frame, 10 * second);
    for (int i = 1; i <= 1'000; ++i) board.FrameArrived(0, frame, 11 * second);
    board.FrameArrived(1, frame, 11 * second);

    const auto report = StatusReport(board, 12 * second);

    EXPECT_THAT(report, HasSubstr("port 0 link 0xe received 1001 (64064 bytes) sent 0 (0 bytes) forwarded 1001"));
    EXPECT_THAT(report, HasSubstr("port 1 dropped 1 no reservation\n"));
    EXPECT_THAT(report, HasSubstr("clock\ntime 12000000000 ns rate +0.000 ppb steering 0\n"));
    EXPECT_THAT(report, HasSubstr("vlans\nvid 10 port mask 0x03\n"));
    EXPECT_THAT(report, HasSubstr("vid 2 address 91:e0:f0:00:01:00 port mask 0x02 frames 1001 rate 88000 bytes/s\n"));
    EXPECT_THAT(report, HasSubstr("port 1 parameter 2 limit 1200000 used 88000 bytes/s\n"));
    EXPECT_THAT(report, HasSubstr("stations\nvid 2 address 02:00:00:00:00:05 port 1 age 1 s\n"));
}

}  // namespace
}  // namespace norvad::board::test
