#pragma once

#include "tests/ctl/fake_bridge.h"

namespace norvad::ctl::test {

// A daemon with a few records of each kind, of as many as the test likes, whose client may pause.
class SmallBridge : public FakeBridge {
public:
    SmallBridge() {
        door.onPause = {};
        door.daemon = [this](const std::string& words) { return PiecesOf(answers.at(words)); };
        ports = std::string(portAsCapable) + "Port  1  status: is Down\nCPU Port status: is Down\n";
        streams =
            "Port 0\n"
            "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
            "Applicant VO Registrar IN\n"
            "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant QA Registrar MT\n"
            "Port 1\n"
            "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:02: MAC: 91:e0:f0:00:01:01: AccLatency = 0x2a (42ns)"
            "\tBridge ID 80:00:02:54:4e:44:00:01:\tError code:  Unknown Applicant VO Registrar IN\n"
            "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant VO Registrar IN\n";
        vlans = "Port 1\n[MVRP] Vlan:2 Applicant VO Registrar IN\n";
        domains = "Port 0\n[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar MT\n";
        clock = Status("SLAVE");
    }

private:
    // As much as fits into a message each.
    static std::vector<FakeControlDoor::Piece> PiecesOf(std::string_view answer) {
        constexpr size_t longest = 2000;
        std::vector<FakeControlDoor::Piece> pieces;
        for (; answer.size() > longest; answer.remove_prefix(longest)) {
            pieces.push_back({std::string(answer.substr(0, longest))});
        }
        pieces.push_back({std::string(answer), true});
        return pieces;
    }
};

}  // namespace norvad::ctl::test
