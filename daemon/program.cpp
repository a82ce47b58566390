#include "daemon/program.h"

#include <syslog.h>

#include <cstdio>
#include <exception>

#include "base/clock.h"
#include "daemon/control/client.h"
#include "daemon/control/control_queues.h"
#include "daemon/daemon_options.h"
#include "daemon/daemonize.h"
#include "daemon/standard_streams.h"

namespace norvad {

namespace {

constexpr int majorVersion = 0;
constexpr int minorVersion = 0;
constexpr int patchVersion = 3;

void PrintBanner() {
    constexpr const char* line = "-------------------------------";
    std::printf("%s\n norvad3 (%d.%d.%d) started\n%s\n", line, majorVersion, minorVersion, patchVersion, line);
    syslog(LOG_INFO, "norvad3 daemon version %d.%d.%d starting up", majorVersion, minorVersion, patchVersion);
}

int RunAsDaemon(int argc, const char* const* argv, const DaemonRun& run) {
    DaemonOptions options;
    PtpSettings settings;
    if (!ParseOptions(argc, argv, options, settings)) return 1;
    DetachFromReaders();
    PrintBanner();
    if (!options.nodaemon && !Daemonize(options.logfile, options.pidFile)) return 1;
    syslog(LOG_INFO, "Daemon started");
    run(options, settings);
    syslog(LOG_INFO, "Daemon stopped");
    return 0;
}

}  // namespace

int RunProgram(int argc, const char* const* argv, const DaemonRun& run) {
    // Line by line, so that a log file is current and a fork duplicates nothing.
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        KernelControlQueues queues;
        if (IsDaemonRunning()) {
            (void)relay(argc, argv, queues, SystemClock());
            return 0;
        }
        queues.Remove(requestQueueName);  // what a dead daemon left behind
        return RunAsDaemon(argc, argv, run);
    } catch (const std::exception& failure) {
        syslog(LOG_ERR, "Exception: %s", failure.what());
        std::fprintf(stderr, "Exception: %s\n", failure.what());
        return 0;
    }
}

}  // namespace norvad
