#include "bench/transparent_clock.h"

#include <sys/syscall.h>

#include <cerrno>
#include <fstream>
#include <vector>

namespace norvad::bench {

namespace {

constexpr const char* profile = R"([global]
clock_type P2P_TC
network_transport L2
delay_mechanism P2P
time_stamping software
free_running 1
transportSpecific 0x1
ptp_dst_mac 01:80:C2:00:00:0E
follow_up_info 1
path_trace_enabled 1
assume_two_step 1
logAnnounceInterval 0
logSyncInterval -3
neighborPropDelayThresh 20000000
min_neighbor_prop_delay -20000000
tx_timestamp_timeout 1000
use_syslog 0
verbose 1
)";

std::vector<std::string> CommandLine(const std::string& interface0, const std::string& interface1) {
    const std::string name = "/tmp/transparent." + interface0;
    std::ofstream(name + ".cfg") << profile << "uds_address " << name << ".socket\n";
    return {"ptp4l", "-f", name + ".cfg", "-i", interface0, "-i", interface1};
}

}  // namespace

TransparentClock::TransparentClock(const std::string& interface0, const std::string& interface1)
    : program(
          CommandLine(interface0, interface1),
          {{SYS_clock_settime, EPERM}, {SYS_clock_adjtime, EPERM}, {SYS_settimeofday, EPERM}, {SYS_adjtimex, EPERM}}) {}

}  // namespace norvad::bench
