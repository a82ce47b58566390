#include "daemon/control/port_report.h"

#include <ostream>

#include "switch/i4_dsa_socket.h"
#include "switch/ports.h"

namespace norvad {

namespace {

const char* UpOrDown(bool up) {
    return up ? "Up,  " : "Down,";
}

void WriteState(const I4DSASocket& ports, uint8_t port, std::ostream& report) {
    if (!ports.IsPortUp(port)) {
        report << " status: is Down\n";
        return;
    }
    report << " status: is Up,  "
           << " STP status: " << UpOrDown(ports.IsStpUp(port)) << " AVB status: " << UpOrDown(ports.IsAvbUp(port))
           << "\n";
}

}  // namespace

void WritePortReport(const I4DSASocket& ports, std::ostream& report) {
    for (uint8_t port = 0; port < externalPortCount; ++port) {
        report << "Port  " << unsigned{port} << " ";
        WriteState(ports, port, report);
    }
    report << "CPU Port";
    WriteState(ports, cpuPort, report);
}

}  // namespace norvad
