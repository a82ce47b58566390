#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"
#include "tests/support/system/system_log.h"
#include "tests/support/system/wire.h"

namespace norvad::test {

inline constexpr const char* pidFile = "/tmp/norvad.pid";

// A test in a world of its own: no interface but the loopback, no queue, no file in /tmp, an empty system log.
class SystemTest : public testing::Test {
protected:
    SystemTest();
    ~SystemTest() override;

    // What the failed expectations of a test are read with.
    std::string Log() const { return "system log:\n" + log.Everything(); }

private:
    struct FreshNetwork {
        FreshNetwork() { StartFreshNetwork(); }
    };
    FreshNetwork network;

protected:
    SystemLog log;
};

// The daemon alone, on one end of a cable that nobody answers at: no switch, no driver.
class DaemonTest : public SystemTest {
protected:
    DaemonTest() { LayCable("eth0", "cpu0"); }

    // norvad3 with those arguments, and the system calls answered by the kernel as told.
    Process& Start(const std::vector<std::string>& arguments, const std::vector<AnsweredCall>& answered = {});

    // The same, until its event loop is reached.
    Process& StartAndWait(const std::vector<std::string>& arguments);

    // Ends the daemon in the foreground as an operator would; its exit status.
    std::optional<int> Stop(Process& daemon);

    // The process id that a detached daemon recorded, once its event loop is reached; 0 when it never records one.
    pid_t WaitForDetached() const;

private:
    std::vector<std::unique_ptr<Process>> started;
};

}  // namespace norvad::test
