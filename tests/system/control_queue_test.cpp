#include <signal.h>

#include <filesystem>
#include <random>
#include <thread>

#include "tests/support/system/control_client.h"
#include "tests/support/system/system_test.h"

namespace norvad::test {
namespace {

constexpr const char* allPortsDown = "Port  0  status: is Down\nPort  1  status: is Down\nCPU Port status: is Down\n";

// A daemon in the foreground that its clients find.
class ControlQueue : public DaemonTest {
protected:
    ControlQueue() : daemon(StartAndWait({"-n"})) { RecordDaemon(daemon.Id()); }

    // Returns when the daemon stands still.
    void Freeze() {
        daemon.Signal(SIGSTOP);
        const std::string stat = "/proc/" + std::to_string(daemon.Id()) + "/stat";
        EXPECT_TRUE(WaitFor([&] { return ReadTextFile(stat).find(") T ") != std::string::npos; }));
    }
    void Thaw() { daemon.Signal(SIGCONT); }

    // A client that has made its reply queue and waits for room in the request queue of a frozen daemon.
    Process& StartWaitingClient() {
        PeerQueue requests = PeerQueue::Open(requestQueue);
        while (requests.TrySend(ControlRequest(controlUnknown, ""))) continue;
        Process& client = Start({"-s"});
        EXPECT_TRUE(WaitFor([] { return PeerQueue::Exists(replyQueue); }));
        return client;
    }

    // The texts of the daemon's answer to a command, as they come to a queue of our own.
    std::vector<std::string> PiecesOf(const std::string& command) {
        PeerQueue replies = PeerQueue::Make("/own", controlMessageSize);
        EXPECT_TRUE(PeerQueue::Open(requestQueue).TrySend(ControlRequest(controlCommand, command, "/own")));
        std::vector<std::string> pieces;
        bool last = false;
        while (!last) {
            const auto piece = replies.Receive();
            if (!piece) break;
            pieces.push_back(ControlText(*piece));
            last = piece->at(controlLastAt) == 1;
        }
        EXPECT_TRUE(last);
        return pieces;
    }

    void ExpectAnswering() {
        EXPECT_EQ(Ask({"-s"}), allPortsDown);
        EXPECT_TRUE(daemon.IsRunning()) << daemon.Errors();
    }

    Process& daemon;
};

TEST_F(ControlQueue, ClientLeavesNothingBehind) {
    EXPECT_EQ(Ask({"-s"}), allPortsDown);

    EXPECT_FALSE(PeerQueue::Exists(replyQueue));
    EXPECT_EQ(PeerQueue::Open(requestQueue).Waiting(), 0);
}

TEST_F(ControlQueue, AnswersOf2048And2049CharactersComeWhole) {
    // A short name leaves more of the request to the option.
    std::filesystem::create_symlink(NORVAD_DAEMON, "/tmp/n");
    for (const size_t length : {2048U, 2049U}) {
        const std::string frame = "unrecognised option ''\n";
        const std::string option = "--" + std::string(length - frame.size() - 2, 'x');
        const std::string answer = "unrecognised option '" + option + "'\n";

        EXPECT_EQ(Ask({option}, "/tmp/n"), answer);

        std::vector<std::string> pieces{answer.substr(0, 2048)};
        if (length > 2048) pieces.push_back(answer.substr(2048));
        EXPECT_EQ(PiecesOf("norvad3 " + option + " "), pieces);
    }
}

TEST_F(ControlQueue, CommandLineLongerThanAMessageIsCut) {
    std::filesystem::create_symlink(NORVAD_DAEMON, "/tmp/n");
    const std::string kept = "--" + std::string(2050 - std::string("/tmp/n ").size() - 2, 'x');

    EXPECT_EQ(Ask({kept + "yyy", "-s"}, "/tmp/n"), "unrecognised option '" + kept + "'\n");

    ExpectAnswering();
}

TEST_F(ControlQueue, KilledClientLeavesAQueueThatTheNextStumblesOver) {
    Freeze();
    Process& killed = StartWaitingClient();
    killed.Signal(SIGKILL);
    ASSERT_EQ(killed.WaitForExit(), -SIGKILL);
    Thaw();
    ASSERT_TRUE(WaitUntilServed());

    Process& next = Start({"-s"});

    EXPECT_EQ(next.WaitForExit(), 0);
    EXPECT_EQ(next.Errors(), replyQueueExists);
    EXPECT_EQ(next.Output(), "");
    EXPECT_TRUE(PeerQueue::Exists(replyQueue));
    MessageQueue::Remove(replyQueue);
    ExpectAnswering();
}

TEST_F(ControlQueue, SecondClientFailsWhileTheFirstWaits) {
    Freeze();
    Process& first = StartWaitingClient();

    Process& second = Start({"-s"});

    EXPECT_EQ(second.WaitForExit(), 0);
    EXPECT_EQ(second.Errors(), replyQueueExists);
    EXPECT_EQ(second.Output(), "");
    Thaw();
    EXPECT_EQ(first.WaitForExit(), 0);
    EXPECT_EQ(first.Errors(), "");
    EXPECT_FALSE(PeerQueue::Exists(replyQueue));
    ExpectAnswering();
}

TEST_F(ControlQueue, ClientsAtTheSameMomentAreServedOrTurnedAway) {
    for (int round = 0; round < 5; ++round) {
        Process* clients[] = {&Start({"-s"}), &Start({"-s"})};

        int turnedAway = 0;
        for (Process* client : clients) {
            EXPECT_EQ(client->WaitForExit(), 0);
            if (client->Errors() == replyQueueExists) {
                ++turnedAway;
                EXPECT_EQ(client->Output(), "");
                continue;
            }
            EXPECT_EQ(client->Errors(), "");
            // Nothing, where the 10 ms were over first.
            EXPECT_TRUE(client->Output().empty() || client->Output() == allPortsDown) << client->Output();
        }
        EXPECT_LE(turnedAway, 1);
        EXPECT_FALSE(PeerQueue::Exists(replyQueue));
    }
    ExpectAnswering();
}

TEST_F(ControlQueue, ClientOfABusyDaemonPrintsNothingAndItsCommandRunsLater) {
    Freeze();

    Process& client = Start({"-d", "mvrp", "3"});

    EXPECT_EQ(client.WaitForExit(), 0);
    EXPECT_EQ(client.Output(), "");
    EXPECT_EQ(client.Errors(), "");
    EXPECT_FALSE(PeerQueue::Exists(replyQueue));
    EXPECT_EQ(daemon.Output().find("debugLevel"), std::string::npos);
    Thaw();
    EXPECT_TRUE(daemon.WaitForOutput("LOG_MVRP debugLevel = 3\n")) << daemon.Output();
    EXPECT_TRUE(WaitFor([this] {
        return daemon.Errors() == "[Switch] open user message queue failed: No such file or directory\n";
    })) << daemon.Errors();
    ExpectAnswering();
}

TEST_F(ControlQueue, ReplyQueueMadeForShorterMessagesCostsTheAnswerOnly) {
    PeerQueue narrow = PeerQueue::Make("/narrow", controlMessageSize - 1);

    ASSERT_TRUE(PeerQueue::Open(requestQueue).TrySend(ControlRequest(controlCommand, "norvad3 -h ", "/narrow")));
    ASSERT_TRUE(WaitUntilServed());

    EXPECT_EQ(narrow.Waiting(), 0);
    ExpectAnswering();
}

// A command whose answer is two messages, the second of which finds no room in the queue until the first is read.
const Bytes longAnswered = ControlRequest(controlCommand, "norvad3 --" + std::string(2030, 'x'), "/own");

TEST_F(ControlQueue, ReaderThatStopsInTheMiddleOfAnAnswerHoldsUpNothingElse) {
    PeerQueue replies = PeerQueue::Make("/own", controlMessageSize, 1);
    ASSERT_TRUE(PeerQueue::Open(requestQueue).TrySend(longAnswered));
    ASSERT_TRUE(WaitFor([&] { return replies.Waiting() == 1; }));

    EXPECT_EQ(Stop(daemon), 0) << daemon.Errors();
}

TEST_F(ControlQueue, SlowReaderGetsTheWholeAnswer) {
    PeerQueue replies = PeerQueue::Make("/own", controlMessageSize, 1);
    ASSERT_TRUE(PeerQueue::Open(requestQueue).TrySend(longAnswered));
    ASSERT_TRUE(WaitFor([&] { return replies.Waiting() == 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));

    std::string answer = ControlText(replies.Receive().value());
    answer += ControlText(replies.Receive().value());

    EXPECT_EQ(answer, "unrecognised option '--" + std::string(2030, 'x') + "'\n");
    ExpectAnswering();
}

TEST_F(ControlQueue, AnswerIsDroppedWithTheQueueOfAReaderThatIsGone) {
    {
        PeerQueue replies = PeerQueue::Make("/own", controlMessageSize, 1);
        ASSERT_TRUE(PeerQueue::Open(requestQueue).TrySend(longAnswered));
        ASSERT_TRUE(WaitFor([&] { return replies.Waiting() == 1; }));
    }

    ExpectAnswering();
}

TEST_F(ControlQueue, AnswersThatWouldGoToTheDaemonItselfDoNotKeepIt) {
    PeerQueue requests = PeerQueue::Open(requestQueue);
    Freeze();
    while (requests.TrySend(ControlRequest(controlCommand, "norvad3 -h ", requestQueue))) continue;

    Thaw();

    EXPECT_TRUE(requests.WaitUntilEmpty());
    ExpectAnswering();
    EXPECT_EQ(Stop(daemon), 0) << daemon.Errors();
}

TEST_F(ControlQueue, RubbishOfEveryLengthDoesNotStopTheDaemon) {
    PeerQueue requests = PeerQueue::Open(requestQueue);
    const auto send = [&](const Bytes& message) {
        ASSERT_TRUE(WaitFor([&] { return requests.TrySend(message); })) << daemon.Errors();
    };
    std::mt19937 random{1992};
    for (const size_t length : {0U, 1U, 63U, 64U, 67U, 68U, 72U, 73U, 74U, 500U, 2123U, 2124U}) {
        Bytes drawn(length);
        for (auto& byte : drawn) byte = static_cast<uint8_t>(random());
        send(drawn);
        send(Bytes(length, 0xFF));
        for (const auto type : {controlCommand, controlNotification, controlUnknown}) {
            Bytes message = Part(ControlRequest(type, "norvad3 -r \"", "/nowhere"), 0, length);
            send(message);
            // Neither the queue's name nor the text ends.
            for (size_t i = 0; i < length; ++i)
                if (i < controlTypeAt || i >= controlTypeAt + 4)
                    message[i] = static_cast<uint8_t>(0x21 + random() % 94);
            send(message);
        }
    }

    EXPECT_FALSE(requests.TrySend(Bytes(controlMessageSize + 1)));
    ExpectAnswering();
    EXPECT_EQ(Stop(daemon), 0) << daemon.Errors();
}

TEST_F(ControlQueue, TextsAndQueueNamesThatFillTheirFieldsAreTakenAsTheyAre) {
    const std::string text = "norvad3 --" + std::string(2051 - 10, 'x');
    Bytes message = ControlRequest(controlCommand, text, "/own");
    PeerQueue replies = PeerQueue::Make("/own", controlMessageSize);
    PeerQueue requests = PeerQueue::Open(requestQueue);

    ASSERT_TRUE(requests.TrySend(message));
    std::fill_n(message.begin(), controlTypeAt, uint8_t{'/'});
    ASSERT_TRUE(requests.TrySend(message));

    EXPECT_EQ(ControlText(replies.Receive().value()), ("unrecognised option '" + text.substr(8)).substr(0, 2048));
    EXPECT_EQ(ControlText(replies.Receive().value()), ("unrecognised option '" + text.substr(8) + "'\n").substr(2048));
    ExpectAnswering();
}

TEST_F(ControlQueue, NotificationExportsTheGrandmasterAgain) {
    const std::string file = "/tmp/ptp_grandmaster";
    const auto isWritten = [&] { return std::filesystem::exists(file) && std::filesystem::file_size(file) == 8; };
    PeerQueue companion = PeerQueue::Make("/gptp.mq", 272);
    PeerQueue requests = PeerQueue::Open(requestQueue);
    EXPECT_EQ(Ask({"-m", "5"}), "OK");
    ASSERT_TRUE(WaitFor(isWritten)) << Log();
    ASSERT_TRUE(companion.Receive());
    const std::string grandmaster = ReadTextFile(file);
    while (companion.Receive(std::chrono::milliseconds(0))) continue;
    std::filesystem::remove(file);

    ASSERT_TRUE(requests.TrySend(ControlRequest(controlNotification, "")));

    ASSERT_TRUE(WaitFor(isWritten));
    EXPECT_EQ(ReadTextFile(file), grandmaster);
    const auto told = companion.Receive();
    ASSERT_TRUE(told);
    EXPECT_EQ(told->size(), 272U);
    ExpectAnswering();
}

using ControlClient = DaemonTest;

TEST_F(ControlClient, WhoseDaemonIsAnotherProgramSaysSo) {
    RecordDaemon(getpid());

    Process& client = Start({"-s"});

    EXPECT_EQ(client.WaitForExit(), 0);
    EXPECT_EQ(client.Errors(), "[Switch] open message queue failed: No such file or directory\n");
    EXPECT_EQ(client.Output(), "");
    EXPECT_FALSE(PeerQueue::Exists(replyQueue));
}

}  // namespace
}  // namespace norvad::test
