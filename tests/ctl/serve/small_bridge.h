#pragma once

#include "tests/ctl/fake_bridge.h"

namespace norvad::ctl::test {

// A daemon with a few records of each kind, of as many as the test likes, whose client may pause.
class SmallBridge : public FakeBridge {
public:
    SmallBridge() {
        door.onPause = {};
        ports = std::string(portAsCapable) + "Port  1  status: is Down\nCPU Port status: is Down\n";
        streams = twoStreams;
        vlans = "Port 1\n[MVRP] Vlan:2 Applicant VO Registrar IN\n";
        domains = "Port 0\n[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar MT\n";
        clock = Status("SLAVE");
    }
};

}  // namespace norvad::ctl::test
