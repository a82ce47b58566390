#include "ptp/ptp_control.h"

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <boost/program_options/variables_map.hpp>
#include <cmath>
#include <ostream>

#include "base/hex.h"
#include "base/log.h"
#include "switch/ports.h"

namespace norvad {

namespace {

constexpr int32_t largestPriority1 = 255;

const char* StateText(PortState state) {
    switch (state) {
        case PortState::INITIALIZING:
            return "INITIALIZING:";
        case PortState::LISTENING:
            return "LISTENING:";
        case PortState::ANNOUNCE:
            return "ANNOUNCE:";
        case PortState::SLAVE:
            return "SLAVE:";
        case PortState::MASTER:
            break;
    }
    return "MASTER:";
}

}  // namespace

void PrintStatusLine(const PTPStatus& status, std::ostream& answer) {
    const uint16_t stepsRemoved = status.best.dataset.stepsRemoved;
    answer << "ST:" << StateText(status.state) << "MC:0x";
    answer << HexText(status.best.dataset.grandmasterIdentity, "");
    answer << ":LC:0x";
    answer << HexText(status.best.sender, "");
    // 255, not 256: readers of the line undo it, and below 256 steps it makes no difference.
    answer << ":SR:" << (stepsRemoved >> 8) * 255 + (stepsRemoved & 0xFF) << ":";
    answer << "PD0:" << status.linkDelay[0] << "ns:PD1:" << status.linkDelay[1] << "ns:";
    answer << "AD:" << status.filteredOffset << "ns:";
    answer << "RMS:" << std::sqrt(static_cast<double>(status.filteredSquare)) << ":";
    answer << "RR0:" << status.neighborRateRatio[0] - 1 << ":RR1:" << status.neighborRateRatio[1] - 1 << ":";
    answer << "CRR:" << status.cumulativeRateRatioOffset << ":";
    answer << "w:" << status.windowMode << std::endl;
}

void PTPControl::AddOptions(boost::program_options::options_description& options) {
    using boost::program_options::value;
    options.add_options()                                                                     //
        ("window,w", value<int32_t>(), "set rateRatio window")                                //
        ("ptp,p", "show PTP status")                                                          //
        ("as,a", value<int32_t>(), "force AS capable decision based on port mask parameter")  //
        ("priority1,m", value<int32_t>(), "set priority1 level to 0..255");
}

void PTPControl::HandleOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    if (values.count("ptp")) ShowStatus(answer);
    if (values.count("window")) return SetWindowMode(values["window"].as<int32_t>());
    if (values.count("as")) return ForceAsCapable(values["as"].as<int32_t>());
    if (values.count("priority1")) SetPriority1(values["priority1"].as<int32_t>(), answer);
}

void PTPControl::ShowStatus(std::ostream& answer) const {
    const PTPPortData& port0 = ptp.ports.at(0);
    const PTPPortData& port1 = ptp.ports.at(1);
    PrintStatusLine({ptp.state.State(),
                     ptp.best,
                     {port0.meanLinkDelay, port1.meanLinkDelay},
                     servo.FilteredOffset(),
                     servo.FilteredSquare(),
                     {port0.neighborRateRatio, port1.neighborRateRatio},
                     receiver.CumulativeRateRatioOffset(),
                     ptp.windowMode},
                    answer);
}

void PTPControl::SetWindowMode(int32_t mode) {
    ptp.windowMode = mode;
    log(LogCategory::PTP, 0, "[SW-PTP] rateRatio window: %s\n",
        mode != 0 ? "old mode increasing distance" : "new mode running window");
}

void PTPControl::ForceAsCapable(int32_t portMask) {
    for (uint8_t port = 0; port < externalPortCount; ++port) {
        asCapable.Force(port, ptp.ports.at(port), (portMask >> port & 1) != 0);
    }
    if (portMask != 0) ptp.state.Step(PortStateEvent::NEIGHBOUR_FOUND);
}

void PTPControl::SetPriority1(int32_t priority1, std::ostream& answer) {
    if (priority1 < 0 || priority1 > largestPriority1) {
        answer << "priority1 out of range 0..255" << std::endl;
        return;
    }
    ptp.local.dataset.priority1 = static_cast<uint8_t>(priority1);
    if (ptp.state.Step(PortStateEvent::NEW_PRIORITY)) announcer.PTPAnnounceAction();
}

}  // namespace norvad
