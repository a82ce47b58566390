#pragma once

#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ctl/program.h"
#include "tests/ctl/fake_control_door.h"

namespace norvad::ctl::test {

// What -r answers of a stream that is reserved on port 1, and of one whose talker arrives there as failed.
inline const std::string twoStreams =
    "Port 0\n"
    "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
    "Applicant VO Registrar IN\n"
    "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant QA Registrar MT\n"
    "Port 1\n"
    "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:02: MAC: 91:e0:f0:00:01:01: AccLatency = 0x2a (42ns)"
    "\tBridge ID 80:00:02:54:4e:44:00:01:\tError code:  Unknown Applicant VO Registrar IN\n"
    "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant VO Registrar IN\n";

// norvadctl before a daemon whose answers the test changes while the program runs.
class FakeBridge {
public:
    FakeBridge() {
        door.daemon = [this](const std::string& words) { return InPieces(answers.at(words)); };
        door.onPause = [this] { Pause(); };
    }

    // What happens while the program pauses for the first, second, ... time; in the pause after the last it is
    // interrupted.
    void During(std::vector<std::function<void()>> steps) {
        pauses = std::move(steps);
        pausesDone = 0;
    }

    // Nothing when it was interrupted.
    std::optional<ExitStatus> Run(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "norvadctl");
        const Options options = ReadOptions(static_cast<int>(arguments.size()), arguments.data());
        try {
            return ctl::Run(options, client, terminal);
        } catch (const Interruption&) {
            return {};
        }
    }

    void Vanish() { door.sendings = {ControlDoor::Sending::ABSENT}; }
    void Appear() { door.sendings = {ControlDoor::Sending::SENT}; }

    std::map<std::string, std::string> answers;
    std::string& ports = answers["norvadctl -s "];
    std::string& streams = answers["norvadctl -r "];
    std::string& vlans = answers["norvadctl -v "];
    std::string& domains = answers["norvadctl -o "];
    std::string& clock = answers["norvadctl -p "];
    FakeControlDoor door;
    ControlClient client{door};
    std::ostringstream output, errors;
    Terminal terminal{output, errors, false};

    static constexpr const char* portUp = "Port  0  status: is Up,   STP status: Up,   AVB status: Down,\n";
    static constexpr const char* portAsCapable = "Port  0  status: is Up,   STP status: Up,   AVB status: Up,  \n";
    static constexpr const char* portDown = "Port  0  status: is Down\n";
    static std::string Status(const std::string& state, const std::string& offset = "AD:-7ns:RMS:12.5") {
        return "ST:" + state + ":MC:0x02544efffe440005:LC:0x020000fffe000100:SR:3:PD0:-12ns:PD1:512ns:" + offset +
               ":RR0:1.5e-06:RR1:nan:CRR:inf:w:1\n";
    }

private:
    struct Interruption {};

    // As many as the daemon would send.
    static std::vector<FakeControlDoor::Piece> InPieces(const std::string& answer) {
        constexpr size_t piece = 2048;
        std::vector<FakeControlDoor::Piece> pieces;
        for (size_t at = 0; at < answer.size(); at += piece) pieces.push_back({answer.substr(at, piece)});
        if (pieces.empty()) pieces.emplace_back();
        pieces.back().last = true;
        return pieces;
    }

    void Pause() {
        if (pausesDone >= pauses.size()) throw Interruption();
        pauses[pausesDone++]();
    }

    std::vector<std::function<void()>> pauses;
    size_t pausesDone = 0;
};

}  // namespace norvad::ctl::test
