#include "lab/end_station/options.h"

#include <fmt/format.h>

#include <boost/endian/conversion.hpp>
#include <boost/program_options.hpp>
#include <sstream>
#include <vector>

#include "lab/common/errors.h"
#include "lab/common/ethernet_frame.h"
#include "lab/end_station/text.h"

namespace norvad::station {

using namespace lab;

namespace po = boost::program_options;

namespace {

constexpr MacAddress firstDestination{0x91, 0xE0, 0xF0, 0x00, 0x01, 0x00};

po::options_description Description() {
    po::options_description description("Options of norvad3-end-station", 110, 60);
    auto add = description.add_options();
    add("help,h", "show help");
    add("interface,i", po::value<std::string>(), "Ethernet interface to speak on");
    add("name", po::value<std::string>()->default_value("station"), "name in event lines");
    add("talk", po::value<std::vector<std::string>>(), "offer this stream, e.g. 02:00:00:00:00:01:00:01; repeatable");
    add("destination", po::value<std::string>()->default_value(HexText(firstDestination)),
        "address of the first stream offered; each further one has the next");
    add("vid", po::value<int64_t>()->default_value(2), "VLAN id of the streams offered");
    add("priority", po::value<int64_t>()->default_value(3), "priority of their frames");
    add("max-frame-size", po::value<int64_t>()->default_value(100), "their MaxFrameSize, bytes behind the EtherType");
    add("interval-frames", po::value<int64_t>()->default_value(1), "their MaxIntervalFrames");
    add("rate", po::value<int64_t>()->default_value(100), "frames that are really sent, per second and stream or VLAN");
    add("eager", po::bool_switch(), "send stream frames also without a ready listener");
    add("listen", po::value<std::vector<std::string>>(), "ask for this stream and count its frames; repeatable");
    add("declare", po::value<std::string>()->default_value("ready"), "as listener: ready, asking-failed, ready-failed");
    add("hold", po::bool_switch(), "declare listeners and VLANs only when SIGUSR2 comes");
    add("vlan", po::value<std::vector<int64_t>>(), "be a member of this VLAN (MVRP); repeatable");
    add("vlan-frames", po::value<std::vector<int64_t>>(),
        "send frames to everybody in this VLAN, as a member of it or not; repeatable");
    add("duration", po::value<double>(), "end after this many seconds");
    add("no-pdelay", po::bool_switch(), "leave the neighbour's peer delay requests unanswered");
    add("measure-delay", po::bool_switch(), "send peer delay requests too and show the link delay");
    return description;
}

[[noreturn]] void Refuse(const std::string& option, const std::string& value, const std::string& wanted) {
    throw StartError(fmt::format("--{} {}: {}", option, value, wanted));
}

int64_t Number(const po::variables_map& values, const char* option, int64_t least, int64_t most) {
    const auto value = values[option].as<int64_t>();
    if (value < least || value > most) {
        Refuse(option, std::to_string(value), fmt::format("{} to {} are possible", least, most));
    }
    return value;
}

StreamID Stream(const char* option, const std::string& text) {
    const auto id = ParseStreamId(text);
    if (!id) Refuse(option, text, "a stream id reads like 02:00:00:00:00:01:00:01");
    return *id;
}

std::vector<std::string> Texts(const po::variables_map& values, const char* option) {
    return values.count(option) == 0 ? std::vector<std::string>{} : values[option].as<std::vector<std::string>>();
}

// The low 16 bits count the streams, as they do within one MSRP vector.
MacAddress Following(MacAddress address, uint16_t steps) {
    uint8_t* const low = address.data() + 4;
    boost::endian::store_big_u16(low, static_cast<uint16_t>(boost::endian::load_big_u16(low) + steps));
    return address;
}

std::vector<TalkerSettings> Talkers(const po::variables_map& values) {
    const auto text = values["destination"].as<std::string>();
    const auto destination = ParseAddress(text);
    if (!destination) Refuse("destination", text, "an address reads like 91:e0:f0:00:01:00");
    TalkerSettings talker;
    talker.tag.vid = static_cast<uint16_t>(Number(values, "vid", 0, 4095));
    talker.tag.priority = static_cast<uint8_t>(Number(values, "priority", 0, 7));
    talker.maxFrameSize = static_cast<uint16_t>(Number(values, "max-frame-size", 0, 65535));
    talker.intervalFrames = static_cast<uint16_t>(Number(values, "interval-frames", 0, 65535));
    std::vector<TalkerSettings> talkers;
    for (const auto& id : Texts(values, "talk")) {
        talker.id = Stream("talk", id);
        talker.destination = Following(*destination, static_cast<uint16_t>(talkers.size()));
        talkers.push_back(talker);
    }
    return talkers;
}

std::vector<ListenerSettings> Listeners(const po::variables_map& values) {
    const auto text = values["declare"].as<std::string>();
    const auto declaration = ParseDeclaration(text);
    if (!declaration) Refuse("declare", text, "ready, asking-failed and ready-failed are possible");
    std::vector<ListenerSettings> listeners;
    for (const auto& id : Texts(values, "listen")) listeners.push_back({Stream("listen", id), *declaration});
    return listeners;
}

std::vector<uint16_t> Vlans(const po::variables_map& values, const char* option) {
    std::vector<uint16_t> vlans;
    if (values.count(option) == 0) return vlans;
    for (const int64_t vid : values[option].as<std::vector<int64_t>>()) {
        if (vid < 1 || vid > 4094) Refuse(option, std::to_string(vid), "1 to 4094 are possible");
        vlans.push_back(static_cast<uint16_t>(vid));
    }
    return vlans;
}

std::optional<double> Duration(const po::variables_map& values) {
    if (values.count("duration") == 0) return {};
    const double seconds = values["duration"].as<double>();
    constexpr double aYear = 366.0 * 86'400;
    if (!(seconds > 0 && seconds <= aYear)) throw StartError("--duration has to be above 0");
    return seconds;
}

po::variables_map Parse(int argc, const char* const* argv) {
    po::variables_map values;
    const auto description = Description();
    try {
        po::store(po::command_line_parser(argc, argv).options(description).positional({}).run(), values);
        po::notify(values);
    } catch (const po::error& error) {
        throw StartError(error.what());
    }
    return values;
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    const auto values = Parse(argc, argv);
    Options options;
    options.help = values.count("help") > 0;
    if (options.help) return options;

    if (values.count("interface") == 0) throw StartError("--interface is missing");
    options.interface = values["interface"].as<std::string>();
    options.name = values["name"].as<std::string>();
    options.durationSeconds = Duration(values);
    options.station.talkers = Talkers(values);
    options.station.listeners = Listeners(values);
    options.station.vlans = Vlans(values, "vlan");
    options.station.vlanFrames = Vlans(values, "vlan-frames");
    options.station.framesPerSecond = static_cast<uint32_t>(Number(values, "rate", 1, 1'000'000));
    options.station.eager = values["eager"].as<bool>();
    options.station.hold = values["hold"].as<bool>();
    options.station.peerDelay.answer = !values["no-pdelay"].as<bool>();
    options.station.peerDelay.measure = values["measure-delay"].as<bool>();
    return options;
}

std::string HelpText() {
    std::ostringstream text;
    text << "norvad3-end-station: an AVB talker, listener and VLAN member on a plain Ethernet interface.\n\n"
         << Description()
         << "\nSIGTERM and SIGINT withdraw everything and end it. SIGUSR1 withdraws the listeners and VLANs,\n"
            "SIGUSR2 declares them again.\n";
    return text.str();
}

}  // namespace norvad::station
