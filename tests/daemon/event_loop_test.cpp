#include "daemon/event_loop.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/captured_log.h"
#include "tests/support/captured_priority.h"
#include "tests/support/isolated_process.h"
#include "tests/support/readiness.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Pipe {
    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) throw std::runtime_error("pipe");
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }
    FileDescriptor reader, writer;
};

class Loop : public testing::Test {
protected:
    void Signal(uint32_t number) const {
        signalfd_siginfo info{};
        info.ssi_signo = number;
        ASSERT_EQ(write(signals.writer.Get(), &info, sizeof info), ssize_t{sizeof info});
    }
    void End() const { Signal(SIGTERM); }

    EventSource Source(const char* name, Readiness& readiness) {
        return {name,
                readiness.Descriptor(),
                [this, name, &readiness] {
                    readiness.Take();
                    served.emplace_back(name);
                },
                {}};
    }
    EventSources Sources() { return {Source("frames", frames), Source("requests", requests), Source("links", links)}; }

    // Lets the loop make some more passes and then end.
    void EndAfter(int passes) {
        requests.Add();
        sources.requests.serve = [this, passes]() mutable {
            if (--passes == 0) End();
        };
    }

    void Run() { EventLoop(timers, waiting, signals.reader.Get(), sources).Run(); }

    SteppedClock clock;
    TimerService timers{clock};
    KernelWaiting waiting;
    Pipe signals;
    Readiness frames, requests, links;
    std::vector<std::string> served;
    EventSources sources = Sources();
    CapturedLog captured;
};

TEST_F(Loop, SigtermEndsIt) {
    Signal(SIGTERM);

    Run();

    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] Got SIGTERM"));
}

TEST_F(Loop, SigintEndsIt) {
    Signal(SIGINT);

    Run();

    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] Got SIGINT"));
}

TEST_F(Loop, AnyOtherSignalIsLoggedAndTheLoopGoesOn) {
    Signal(SIGUSR2);
    Signal(SIGINT);

    Run();

    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] Got unhandled signal 12", "[norvad] Got SIGINT"));
}

TEST_F(Loop, AShortReadOfTheSignalDescriptorEndsIt) {
    ASSERT_EQ(write(signals.writer.Get(), "short", 5), 5);
    frames.Add();

    Run();

    EXPECT_THAT(captured.Lines(), IsEmpty());
    EXPECT_THAT(served, IsEmpty());
}

TEST_F(Loop, ASignalThatEndsItLeavesTheRestOfTheRoundUndone) {
    End();
    frames.Add();

    Run();

    EXPECT_THAT(served, IsEmpty());
}

TEST_F(Loop, WhatIsReadyTogetherIsServedInOrderInOneRound) {
    timers.addTimer(
        0, [this](uint32_t) { served.emplace_back("timer"); }, 0);
    links.Add();
    requests.Add();
    frames.Add();
    const auto serveLinks = sources.links.serve;
    sources.links.serve = [&] {
        serveLinks();
        End();
    };

    Run();

    EXPECT_THAT(served, ElementsAre("timer", "frames", "requests", "links"));
}

TEST_F(Loop, EachDescriptorIsServedOnceARound) {
    frames.Add();
    frames.Add();
    links.Add();
    links.Add();
    sources.links.serve = [&, count = 0]() mutable {
        links.Take();
        served.emplace_back("links");
        if (++count == 2) End();
    };

    Run();

    EXPECT_THAT(served, ElementsAre("frames", "links", "frames", "links"));
}

TEST_F(Loop, ABusySourceRestsWhileTheOthersAreServed) {
    int rounds = 0;
    requests.Add();
    sources.requests.isBusy = [&] { return ++rounds <= 3; };
    frames.Add();
    frames.Add();
    links.Add();
    const auto serveRequests = sources.requests.serve;
    sources.requests.serve = [&] {
        serveRequests();
        End();
    };
    timers.addTimer(
        0, [this](uint32_t) { served.emplace_back("timer"); }, 0);
    timers.addPeriodicTimer(
        1, 1, 0, [](uint32_t) {}, 0);

    Run();

    EXPECT_THAT(served, ElementsAre("timer", "frames", "links", "frames", "requests"));
    EXPECT_EQ(rounds, 5);
}

TEST_F(Loop, ArmsPeriodicTimersWhenItBegins) {
    const Timer* timer = timers.addPeriodicTimer(
        0, 500, 0, [](uint32_t) { FAIL() << "fired at once"; }, 0);
    clock.AdvanceMs(100);
    End();

    Run();

    EXPECT_EQ(uint64_t{timer->expirySeconds} * 1000 + timer->expiryMicroseconds / 1000, clock.Ns() / 1'000'000 + 500);
}

TEST_F(Loop, WithNothingReadyItWakesForTheNextTimer) {
    SystemClock system;
    TimerService realTimers(system);
    realTimers.addTimer(
        5, [this](uint32_t) { served.emplace_back("timer"); }, 0);
    realTimers.addTimer(
        6, [this](uint32_t) { End(); }, 0);

    EventLoop(realTimers, waiting, signals.reader.Get(), sources).Run();

    EXPECT_THAT(served, ElementsAre("timer"));
}

TEST_F(Loop, AnInterruptedPollEndsIt) {
    struct sigaction previous, interrupt{};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGALRM, &interrupt, &previous);
    const itimerval often{{0, 5'000}, {0, 5'000}}, never{};
    setitimer(ITIMER_REAL, &often, nullptr);

    Run();

    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &previous, nullptr);
    EXPECT_THAT(captured.Lines(), IsEmpty());
    EXPECT_THAT(served, IsEmpty());
}

TEST_F(Loop, AnExceptionOfTheWorkPassesThrough) {
    frames.Add();
    sources.frames.serve = [] { throw std::runtime_error(" read error "); };

    EXPECT_THROW(Run(), std::runtime_error);
}

TEST_F(Loop, MissingDescriptorsAreNoTrouble) {
    sources.links.descriptor = -1;
    sources.frames.descriptor = -1;
    EndAfter(3);

    Run();

    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] Got SIGTERM"));
}

TEST_F(Loop, WithoutSignalsItRunsOn) {
    timers.addTimer(
        0, [](uint32_t) { throw std::runtime_error("end"); }, 0);

    EXPECT_THROW(EventLoop(timers, waiting, -1, sources).Run(), std::runtime_error);
}

// A UDP socket on the loopback whose peer is not there: what it sends comes back as an error, as ENETDOWN comes to
// a packet socket when its interface goes down.
class RefusedSocket {
public:
    RefusedSocket() : descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        const FileDescriptor gone(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        peer = Bind(gone.Get());
        own = Bind(descriptor.Get());
        if (connect(descriptor.Get(), Address(peer), sizeof peer) != 0) throw std::runtime_error("connect");
    }

    int Descriptor() const { return descriptor.Get(); }
    void GetRefused() const { (void)send(descriptor.Get(), "x", 1, 0); }

    void GetDatagram() const {
        const FileDescriptor sender(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const int reuse = 1;
        setsockopt(sender.Get(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
        if (bind(sender.Get(), Address(peer), sizeof peer) != 0) throw std::runtime_error("bind");
        (void)sendto(sender.Get(), "y", 1, 0, Address(own), sizeof own);
    }

    int TakeError() const {
        int error = 0;
        socklen_t length = sizeof error;
        getsockopt(descriptor.Get(), SOL_SOCKET, SO_ERROR, &error, &length);
        return error;
    }

    char TakeDatagram() const {
        char byte = 0;
        (void)recv(descriptor.Get(), &byte, 1, MSG_DONTWAIT);
        return byte;
    }

private:
    static const sockaddr* Address(const sockaddr_in& address) { return reinterpret_cast<const sockaddr*>(&address); }

    static sockaddr_in Bind(int descriptor) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (bind(descriptor, Address(address), length) != 0) throw std::runtime_error("bind");
        getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
        return address;
    }

    FileDescriptor descriptor;
    sockaddr_in peer{}, own{};
};

TEST_F(Loop, ATakenSocketErrorIsForgottenAndTheSocketServedAgain) {
    const RefusedSocket refused;
    std::vector<int> errors;
    sources.frames = {"frames", refused.Descriptor(),
                      [&] {
                          EXPECT_EQ(refused.TakeDatagram(), 'y');
                          End();
                      },
                      [&] {
                          errors.push_back(refused.TakeError());
                          refused.GetDatagram();
                          return errors.back();
                      }};
    refused.GetRefused();

    Run();

    EXPECT_THAT(errors, ElementsAre(ECONNREFUSED));
    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] Got SIGTERM"));
    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST_F(Loop, DataBesideAnErrorWaitsUntilTheErrorIsTaken) {
    const RefusedSocket refused;
    std::vector<std::string> order;
    sources.links = {"links", refused.Descriptor(),
                     [&] {
                         order.emplace_back("served");
                         EXPECT_EQ(refused.TakeDatagram(), 'y');
                         End();
                     },
                     [&] {
                         order.emplace_back("error taken");
                         return refused.TakeError();
                     }};
    refused.GetDatagram();
    refused.GetRefused();

    Run();

    EXPECT_THAT(order, ElementsAre("error taken", "served"));
}

TEST_F(Loop, AHungUpDescriptorIsNotServedEvenWithDataAndSitsOut) {
    Pipe pipe;
    ASSERT_EQ(write(pipe.writer.Get(), "x", 1), 1);
    pipe.writer.Close();
    sources.links = {"links", pipe.reader.Get(), [] { FAIL() << "served"; }, {}};
    EndAfter(3);

    EventLoop loop(timers, waiting, signals.reader.Get(), sources);
    loop.Run();

    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] poll reports 0x11 for the links", "[norvad] Got SIGTERM"));
    EXPECT_EQ(timers.runDue(), 1'000u);
}

TEST_F(Loop, AnErrorThatNobodyCanTakeMakesTheDescriptorSitOut) {
    Pipe pipe;
    pipe.reader.Close();  // a writer without a reader reports POLLERR for good
    int attempts = 0;
    sources.frames = {"frames", pipe.writer.Get(), [] { FAIL() << "served"; },
                      [&] {
                          ++attempts;
                          return 0;
                      }};
    EndAfter(5);

    Run();

    EXPECT_EQ(attempts, 1);
    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] poll reports 0x8 for the frames", "[norvad] Got SIGTERM"));
}

TEST_F(Loop, ADescriptorThatIsNoMoreSitsOut) {
    Pipe pipe;
    const int gone = pipe.reader.Get();
    pipe.reader.Close();
    sources.frames.descriptor = gone;
    EndAfter(3);

    Run();

    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] poll reports 0x20 for the frames", "[norvad] Got SIGTERM"));
}

TEST_F(Loop, AHungUpSignalDescriptorDoesNotEndIt) {
    signals.writer.Close();
    requests.Add();
    sources.requests.serve = [] { throw std::runtime_error("end"); };

    EXPECT_THROW(Run(), std::runtime_error);
    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] poll reports 0x10 for the signals"));
}

TEST_F(Loop, ADescriptorThatSatOutIsTriedAgainAndLoggedOnce) {
    Pipe pipe;
    pipe.reader.Close();
    int attempts = 0;
    sources.frames = {"frames", pipe.writer.Get(), [] {},
                      [&] {
                          ++attempts;
                          return 0;
                      }};
    requests.Add();
    sources.requests.serve = [&, passes = 0]() mutable {
        clock.AdvanceMs(1'000);
        if (++passes == 3) End();
    };

    Run();

    EXPECT_EQ(attempts, 3);
    EXPECT_THAT(captured.Lines(), ElementsAre("[norvad] poll reports 0x8 for the frames", "[norvad] Got SIGTERM"));
}

TEST_F(Loop, LeavesNoTimerBehind) {
    Pipe pipe;
    pipe.reader.Close();
    sources.frames = {"frames", pipe.writer.Get(), [] {}, {}};
    EndAfter(2);
    Run();

    clock.AdvanceMs(5'000);

    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST(Priority, IsRaisedWhereTheProcessMay) {
    CapturedPriorities().clear();
    RaisePriority();

    EXPECT_THAT(CapturedPriorities(), ElementsAre(PriorityCall{PRIO_PROCESS, static_cast<id_t>(getpid()), -5}));
}

// Moves a stepped clock on instead of waiting, until it has done so often enough.
struct SteppedWaiting final : Waiting {
    explicit SteppedWaiting(SteppedClock& clock) : clock(clock) {}
    int Wait(std::span<pollfd> set, uint32_t waitMs) override {
        waits.push_back(waitMs);
        clock.AdvanceMs(waitMs);
        for (pollfd& entry : set) entry.revents = 0;
        if (waits.size() == 3) set[1].revents = POLLIN;
        return waits.size() < 5 ? 1 : -1;
    }

    SteppedClock& clock;
    std::vector<uint32_t> waits;
};

TEST_F(Loop, RunsOnASteppedClock) {
    SteppedWaiting stepped(clock);
    timers.addPeriodicTimer(
        0, 125, 0, [this](uint32_t) { served.emplace_back("timer"); }, 0);
    frames.Add();

    EventLoop(timers, stepped, -1, sources).Run();

    EXPECT_THAT(stepped.waits, ElementsAre(125, 125, 125, 125, 125));
    EXPECT_THAT(served, ElementsAre("timer", "timer", "frames", "timer", "timer"));
}

TEST(SignalDescriptor, TakesSigtermAndSigintAndNothingElse) {
    const IsolatedOutcome outcome = RunIsolated([] {
        const FileDescriptor descriptor = OpenSignalDescriptor();
        sigset_t blocked;
        sigprocmask(SIG_BLOCK, nullptr, &blocked);
        for (int signal = 1; signal < SIGRTMIN; ++signal) {
            if (sigismember(&blocked, signal) == 1) std::printf("%d ", signal);
        }
        raise(SIGTERM);
        signalfd_siginfo info{};
        if (read(descriptor.Get(), &info, sizeof info) == sizeof info) std::printf("got %u", info.ssi_signo);
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "2 15 got 15");
}

}  // namespace
}  // namespace norvad::test
