#include "tests/support/system/ptp4l_test.h"

namespace norvad::test {
namespace {

const std::string stateLine = "[SW-PTP] switching to state PTP_";

}  // namespace

// ptp4l waits for some silent seconds before it is grandmaster: it may do so while the board starts.
void Ptp4lTest::StartBetween(const std::optional<Ptp4lRole>& atPort0, const std::optional<Ptp4lRole>& atPort1,
                             const std::vector<std::string>& daemonArguments) {
    if (atPort0) StartUpstream(*atPort0);
    if (atPort1) downstream = std::make_unique<Ptp4lPeer>("peer1", *atPort1);
    StartBoard(daemonArguments, {"--cut-ptp-trailer", "0", "--cut-ptp-trailer", "1"});
}

void Ptp4lTest::StartUpstream(const Ptp4lRole& role) {
    upstream.reset();
    upstream = std::make_unique<Ptp4lPeer>("peer0", role);
}

bool Ptp4lTest::WaitForState(const std::string& state, size_t skipped) const {
    return log.WaitForPart(stateLine + state, skipped);
}

std::vector<std::string> Ptp4lTest::States(size_t skipped) const {
    std::vector<std::string> states;
    const auto entries = log.Entries();
    for (size_t i = skipped; i < entries.size(); ++i) {
        const std::string& text = entries[i].text;
        if (text.starts_with(stateLine)) states.push_back(text.substr(stateLine.size()));
    }
    return states;
}

std::string Ptp4lTest::Everything() const {
    return SystemTest::Log() + (upstream ? "at port 0, " + upstream->Log() : "") +
           (downstream ? "at port 1, " + downstream->Log() : "") + (board ? board->Program().Output() : "");
}

}  // namespace norvad::test
