#include <csignal>

#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

constexpr const char* streamId = "02:00:00:00:00:a0:00:01";

class Stations : public BoardTest {
protected:
    void StartBoth() {
        StartBoard();
        talker = &StartStation(0, {"--name", "talker", "--talk", streamId});
        listener = &StartStation(1, {"--name", "listener", "--listen", streamId});
        EXPECT_TRUE(listener->WaitForOutput("frames begin")) << Everything();
    }

    std::string Everything() const { return talker->Output() + listener->Output() + board->Program().Output() + Log(); }

    Process* talker = nullptr;
    Process* listener = nullptr;
    const std::string added = "multicast add port mask 0x02 vid 2 91:e0:f0:00:01:00";
    const std::string removed = "multicast remove port mask 0x02 vid 2 91:e0:f0:00:01:00";
};

TEST_F(Stations, MeetAcrossTheBridgeUntilTheListenerLeaves) {
    StartBoth();
    EXPECT_EQ(board->Events(added), 1U) << Everything();
    EXPECT_TRUE(listener->WaitForOutput("latency 139264 ns")) << Everything();

    listener->Signal(SIGTERM);

    EXPECT_EQ(listener->WaitForExit(), 0) << Everything();
    EXPECT_TRUE(board->WaitForEvent(removed)) << Everything();
    EXPECT_TRUE(talker->WaitForOutput("stops sending")) << Everything();
    talker->Signal(SIGINT);
    EXPECT_EQ(talker->WaitForExit(), 0) << Everything();
    EXPECT_TRUE(DaemonLives());
}

TEST_F(Stations, KilledListenerIsForgottenAfterTheNextLeaveAll) {
    StartBoth();

    listener->Signal(SIGKILL);

    EXPECT_EQ(listener->WaitForExit(), -SIGKILL);
    EXPECT_TRUE(board->WaitForEvent(removed)) << Everything();
    EXPECT_TRUE(DaemonLives());
}

TEST_F(Stations, KilledTalkerStopsTheStreamAndTheBridgeLivesOn) {
    StartBoth();

    talker->Signal(SIGKILL);

    EXPECT_EQ(talker->WaitForExit(), -SIGKILL);
    EXPECT_TRUE(listener->WaitForOutput("frames stopped")) << Everything();
    EXPECT_TRUE(DaemonLives());
    Process& again = StartStation(0, {"--name", "again", "--talk", streamId});
    EXPECT_TRUE(again.WaitForOutput("sends ")) << again.Output() << Everything();
}

TEST_F(Stations, SayWhatIsWrongWithTheirArguments) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{NORVAD_END_STATION, "--interface", "nosuch0", "--talk", streamId}, "nosuch0"},
        {{NORVAD_END_STATION, "--interface", "peer0", "--talk", "12"}, "12"},
        {{NORVAD_END_STATION, "--talk", streamId}, "--interface is missing"},
    };
    for (const auto& [command, text] : cases) {
        Process station(command);
        EXPECT_EQ(station.WaitForExit(), 1);
        EXPECT_NE(station.Errors().find(text), std::string::npos) << station.Errors();
    }
}

}  // namespace
}  // namespace norvad::test
