#include "tests/support/system/ptp4l_peer.h"

#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/system/network.h"

namespace norvad::test {
namespace {

// The gPTP profile of the linuxptp package, save the link delay, which software stamps make long.
constexpr const char* profile = R"([global]
gmCapable 1
priority2 248
logAnnounceInterval 0
logSyncInterval -3
syncReceiptTimeout 3
neighborPropDelayThresh 20000000
min_neighbor_prop_delay -20000000
assume_two_step 1
path_trace_enabled 1
follow_up_info 1
transportSpecific 0x1
ptp_dst_mac 01:80:C2:00:00:0E
network_transport L2
delay_mechanism P2P
)";

// The clocks here all count UTC, whatever the messages say of their time scale. The daemon answers within milliseconds
// only when the machine lets it, and so does the kernel with a transmit stamp.
constexpr const char* surroundings = R"(time_stamping software
free_running 1
utc_offset 0
freq_est_interval 0
summary_interval -3
tx_timestamp_timeout 1000
fault_reset_interval ASAP
verbose 1
use_syslog 0
)";

std::string WriteConfiguration(const std::string& interface, const Ptp4lRole& role, const std::string& controlSocket) {
    const std::string path = "/tmp/ptp4l." + interface + ".cfg";
    std::ofstream file(path);
    file << profile << surroundings << "priority1 " << role.priority1 << "\nslaveOnly " << role.slaveOnly
         << "\nuds_address " << controlSocket << "\n";
    return path;
}

std::vector<AnsweredCall> NoClockToSet() {
    return {{SYS_clock_settime, EPERM}, {SYS_clock_adjtime, EPERM}, {SYS_settimeofday, EPERM}, {SYS_adjtimex, EPERM}};
}

}  // namespace

Ptp4lPeer::Ptp4lPeer(const std::string& interface, const Ptp4lRole& role)
    : controlSocket("/tmp/ptp4l." + interface + ".socket") {
    std::string address = AddressOf(interface);
    std::replace(address.begin(), address.end(), ':', ' ');
    identity = ClockIdentity(FromHex(address));
    std::filesystem::remove(controlSocket);  // a killed one leaves it
    const auto configuration = WriteConfiguration(interface, role, controlSocket);
    program.emplace(std::vector<std::string>{"ptp4l", "-f", configuration, "-i", interface}, NoClockToSet());
}

// A line of the answer reads "\t\tgrandmasterIdentity   024e56.fffe.440003".
std::string Ptp4lPeer::Value(const std::string& dataSet, const std::string& field) const {
    Process pmc({"pmc", "-u", "-b", "0", "-t", "1", "-s", controlSocket, "GET " + dataSet});
    pmc.WaitForExit();
    std::istringstream lines(pmc.Output());
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name, value;
        if (words >> name >> value && name == field) return value;
    }
    return "";
}

bool Ptp4lPeer::WaitForValue(const std::string& dataSet, const std::string& field, const std::string& value) const {
    return WaitFor([&] { return Value(dataSet, field) == value; });
}

bool Ptp4lPeer::WaitForGrandmaster(const Bytes& clock) const {
    return WaitForValue("PARENT_DATA_SET", "grandmasterIdentity", ClockText(clock));
}

bool Ptp4lPeer::WaitForOffsetTo(const Bytes& grandmaster, std::chrono::nanoseconds bound) const {
    const std::string before = Value("TIME_STATUS_NP", "ingress_time");
    return WaitFor([&] {
        if (Value("TIME_STATUS_NP", "gmIdentity") != ClockText(grandmaster)) return false;
        const std::string syncTime = Value("TIME_STATUS_NP", "ingress_time");
        const std::string offset = Value("TIME_STATUS_NP", "master_offset");
        return syncTime != before && !offset.empty() && std::abs(std::stoll(offset)) < bound.count();
    });
}

void Ptp4lPeer::Kill() {
    program->Signal(SIGKILL);
    program->WaitForExit();
}

Bytes ClockIdentity(const Bytes& address) {
    return Join({Part(address, 0, 3), FromHex("ff fe"), Part(address, 3, 3)});
}

std::string ClockText(const Bytes& identity) {
    return ToHex(Part(identity, 0, 3), "") + "." + ToHex(Part(identity, 3, 2), "") + "." +
           ToHex(Part(identity, 5, 3), "");
}

}  // namespace norvad::test
