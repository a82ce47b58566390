#include "daemon/assembly.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstring>
#include <sstream>

#include "base/log.h"
#include "daemon/control/command_executor.h"
#include "daemon/daemon_options.h"
#include "lab/network/kept_grandmaster_output.h"
#include "switch/socket_exception.h"
#include "switch/switch.h"
#include "tests/support/captured_log.h"
#include "tests/support/captured_priority.h"
#include "tests/support/fake_doors.h"
#include "tests/support/isolated_process.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {
namespace {

using network::KeptGrandmasterOutput;

using testing::Contains;

class Handlers : public testing::Test {
protected:
    Handlers() { AddHandlers(bridge, settings, std::make_unique<KeptGrandmasterOutput>(grandmasters)); }

    std::string Answer(const std::string& command) {
        std::ostringstream answer;
        ExecuteCommand(bridge, command, answer);
        return answer.str();
    }

    SteppedClock clock;
    FakeDoors doors{clock};
    Switch bridge{"eth0", clock, doors};
    PtpSettings settings;
    KeptGrandmasterOutput::Kept grandmasters;
};

TEST_F(Handlers, OfferTheirOptionsInTheOrderOfTheirEtherTypes) {
    const std::string listing = Answer("norvad3 -h ");
    const auto msrp = listing.find("--msrp"), mvrp = listing.find("--mvrp"), ptp = listing.find("--ptp"),
               own = listing.find("--info");

    ASSERT_NE(msrp, std::string::npos);
    EXPECT_LT(msrp, mvrp);
    EXPECT_LT(mvrp, ptp);
    EXPECT_LT(ptp, own);
    ASSERT_NE(own, std::string::npos);
}

TEST_F(Handlers, AllAreThere) {
    CapturedLog captured(LogCategory::SOCKET, 3);

    AddHandlers(bridge, settings, std::make_unique<KeptGrandmasterOutput>(grandmasters));

    EXPECT_THAT(captured.Lines(), testing::ElementsAre(" Handler exist for 0x22ea", " Handler exist for 0x88f5",
                                                       " Handler exist for 0x88f7", " Handler exist for 0x88cc"));
}

// The interface that every network has, in a network of its own.
void BringLoopbackUp() {
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    (void)ioctl(socket.Get(), SIOCSIFFLAGS, &request);
}

// Blocked, it waits for the event loop.
void RaiseTermination() {
    sigset_t termination;
    sigemptyset(&termination);
    sigaddset(&termination, SIGTERM);
    sigprocmask(SIG_BLOCK, &termination, nullptr);
    raise(SIGTERM);
}

TEST(Run, TakesTheDaemonFromItsSocketsToItsEnd) {
    const IsolatedOutcome outcome = RunIsolated([] {
        BringLoopbackUp();
        RaiseTermination();
        DaemonOptions options;
        options.interface = "lo";
        RunDaemon(options, PtpSettings{});
        return static_cast<int>(CapturedPriorities().size());
    });

    EXPECT_EQ(outcome.status, 1);  // raised once, although it may not be
    EXPECT_EQ(outcome.standardError, "");
    EXPECT_THAT(outcome.syslog, Contains("<6>[norvad] Got SIGTERM"));
}

TEST(Run, WithoutItsInterfaceItThrows) {
    const IsolatedOutcome outcome = RunIsolated([] {
        DaemonOptions options;
        options.interface = "none0";
        try {
            RunDaemon(options, PtpSettings{});
        } catch (const SocketException& failure) {
            std::printf("%s", failure.what());
        }
        return 0;
    });

    EXPECT_EQ(outcome.standardOutput, "unable to get interface index");
}

}  // namespace
}  // namespace norvad::test
