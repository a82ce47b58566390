// Operators whose clients are many, slow or dead, on a bridge with many streams.

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <random>
#include <thread>

#include "tests/support/system/board_test.h"
#include "tests/support/system/control_client.h"
#include "tests/support/system/mvrp_frame.h"

namespace norvad::test {
namespace {

class Operators : public BoardTest {
protected:
    Operators() {
        StartBoard();
        RecordDaemon(daemon);
    }

    // So many talkers of the station at port 0. They stay until the bridge asks for them in a LeaveAll.
    void DeclareTalkers(unsigned count) {
        StreamText stream = Stream();
        for (unsigned first = 1; first <= count; first += perFrame) {
            stream.id = Join({stations[0], BigEndian(first, 2)});
            stream.destination = Join({FromHex("91 e0 f0 00"), BigEndian(first, 2)});
            const auto values = static_cast<uint16_t>(std::min(perFrame, count - first + 1));
            wires[0]->Send(MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(stream)}, values));
        }
        EXPECT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();
    }

    // The bridge takes frames in, and its timers send them on.
    void ExpectBridging() {
        const uint16_t vid = ++lastVid;
        wires[0]->Send(MvrpFrame(stations[0], MvrpMessage({{vid, {mrpNew}}})));
        const auto declares = [=](const Bytes& frame) { return DeclaresVlan(frame, vid); };
        EXPECT_TRUE(wires[1]->WaitForFrame(declares)) << Log() << board->Program().Errors();
    }

    void ExpectOrderlyEnd() {
        kill(daemon, SIGTERM);
        EXPECT_EQ(board->Program().WaitForExit(), 0) << board->Program().Errors();
        EXPECT_TRUE(board->WaitForEvent("daemon ended with status 0")) << board->Program().Output();
    }

    // Asks for the report in the name of that reply queue; false when the request queue is full.
    static bool AskFor(const std::string& queue) {
        return PeerQueue::Open(requestQueue).TrySend(ControlRequest(controlCommand, "norvad3 -r ", queue));
    }

    // Ten clients at once, every second of which is killed before 5 ms have passed, among readers that do not read,
    // whose queue goes away, or comes again under the same name.
    void RunMix() {
        const PeerQueue neverRead = PeerQueue::Make("/never_read", controlMessageSize, 1);
        const PeerQueue madeFirst = PeerQueue::Make("/made_again", controlMessageSize, 1);
        (void)AskFor("/made_again");
        std::vector<std::unique_ptr<Process>> clients;
        for (int n = 0; n < 10; ++n) {
            const char* const report = n % 3 == 0 ? "-s" : "-r";
            clients.push_back(std::make_unique<Process>(std::vector<std::string>{NORVAD_DAEMON, report}));
            if (n % 2 == 0) continue;
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 5'000));
            clients.back()->Signal(SIGKILL);
        }
        MessageQueue::Remove("/made_again");
        const PeerQueue sameName = PeerQueue::Make("/made_again", controlMessageSize, 1);
        (void)AskFor("/never_read");
        (void)AskFor("/made_again");
        (void)AskFor("/gone");
        ExpectBridging();
        // Clients that wait for room in the request queue get it when the queues before them are gone.
        for (const char* queue : {"/never_read", "/made_again", replyQueue}) MessageQueue::Remove(queue);
        for (const auto& client : clients) EXPECT_TRUE(client->WaitForExit()) << "a client waits for ever";
        MessageQueue::Remove(replyQueue);
    }

    static constexpr unsigned perFrame = 4'000;
    std::mt19937 random{45};
    uint16_t lastVid = 100;
};

TEST_F(Operators, WhoseClientsAreKilledOrDoNotReadFreezeNothing) {
    for (const unsigned streams : {45, 1'000, 10'000}) {
        SCOPED_TRACE(streams);
        DeclareTalkers(streams);

        for (int round = 0; round < 5; ++round) RunMix();

        ExpectBridging();
        EXPECT_TRUE(Ask({"-s"}).starts_with("Port  0  status: is Up")) << Log();
    }
    ExpectOrderlyEnd();
}

TEST_F(Operators, WhoNeverReadDoNotKeepTheDaemonFromEnding) {
    DeclareTalkers(1'000);
    const PeerQueue neverRead = PeerQueue::Make("/never_read", controlMessageSize);
    for (int n = 0; n < 5; ++n) EXPECT_TRUE(AskFor("/never_read"));
    ASSERT_TRUE(WaitFor([&] { return neverRead.Waiting() == 10; }));

    ExpectBridging();

    ExpectOrderlyEnd();
}

// Whoever looks at the beginning of a long report only, as with "norvad3 -r | head", closes the pipe before the end.
TEST_F(Operators, WhoHaveSeenEnoughLeaveNoQueueBehind) {
    DeclareTalkers(1'000);

    for (int round = 0; round < 20; ++round) {
        Process pipeline({"bash", "-c", "\"$0\" -r | true; echo ${PIPESTATUS[0]}", NORVAD_DAEMON});
        EXPECT_EQ(pipeline.WaitForExit(), 0);
        EXPECT_EQ(pipeline.Output(), "0\n");
        EXPECT_EQ(pipeline.Errors(), "");
    }

    EXPECT_FALSE(PeerQueue::Exists(replyQueue));
    EXPECT_TRUE(Ask({"-s"}).starts_with("Port  0  status: is Up")) << Log();
}

// A pager takes what is on the screen and waits for its user.
TEST_F(Operators, WhoReadSlowlyDoNotHoldUpTheNextClient) {
    DeclareTalkers(1'000);
    int pipeOfPager[2];
    ASSERT_EQ(pipe2(pipeOfPager, O_CLOEXEC), 0);
    fcntl(pipeOfPager[1], F_SETPIPE_SZ, 4096);
    const std::string output = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(pipeOfPager[1]);
    std::unique_ptr<Process> paged;
    const auto shows = [&] {
        pollfd screen{pipeOfPager[0], POLLIN, 0};
        return poll(&screen, 1, 500) == 1;
    };
    // On a busy machine a client may get no answer within its 10 ms, and ends.
    ASSERT_TRUE(WaitFor([&] {
        const std::vector<std::string> command{"bash", "-c", "exec \"$0\" -r > \"$1\"", NORVAD_DAEMON, output};
        paged = std::make_unique<Process>(command);
        return shows();
    }));

    EXPECT_TRUE(Ask({"-s"}).starts_with("Port  0  status: is Up")) << Log();

    EXPECT_TRUE(paged->IsRunning());
    close(pipeOfPager[0]);
    close(pipeOfPager[1]);
    EXPECT_EQ(paged->WaitForExit(), 0);
}

// As when queues that were left behind fill what the user may have of them.
TEST_F(Operators, WhoHaveNoRoomForAQueueAreToldSo) {
    Process client({"bash", "-c", "ulimit -q 1000; exec \"$0\" -s", NORVAD_DAEMON});

    EXPECT_EQ(client.WaitForExit(), 0);
    EXPECT_EQ(client.Errors(), "[Switch] creating response message queue failed: Too many open files\n");
    ExpectBridging();
    EXPECT_TRUE(Ask({"-s"}).starts_with("Port  0  status: is Up")) << Log();
}

}  // namespace
}  // namespace norvad::test
