// What an operator may ask of MSRP.

#include <boost/program_options.hpp>
#include <ostream>

#include "base/log.h"
#include "msrp/msrp_handler.h"

namespace norvad {
namespace {

std::string EntryText(const MRPAttribute& entry) {
    return entry.Text() + " " + StateText(entry) + "\n";
}

}  // namespace

void MSRPHandler::AddControlOptions(boost::program_options::options_description& options) {
    using boost::program_options::value;
    options.add_options()("msrp,r", "show MSRP entries")("dom,o", "show MSRP domain entries")(
        "listenerlv,l", value<int>(), "send EVENT_LV to MSRP listener entry n")("talkerlv,t", value<int>(),
                                                                                "send EVENT_LV to MSRP talker entry n");
}

void MSRPHandler::HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    if (values.count("msrp")) {
        ListStreams(answer);
    } else if (values.count("dom")) {
        ListDomains(answer);
    } else if (values.count("listenerlv")) {
        log(LogCategory::MSRP, 0, "[SW-MSRP] ListenerLeave\n");
        LeaveEntry(LISTENER_VECTOR, values["listenerlv"].as<int>(), "Listener not found", answer);
    } else if (values.count("talkerlv")) {
        log(LogCategory::MSRP, 0, "[SW-MSRP] TalkerLeave\n");
        LeaveEntry(TALKER_ADVERTISE, values["talkerlv"].as<int>(), "Talker not found", answer);
    }
}

void MSRPHandler::ListStreams(std::ostream& answer) {
    for (uint8_t port = 0; port < PortCount(); ++port) {
        answer << "Port " << int{port} << "\n";
        List(port, TALKER_ADVERTISE, answer);
        List(port, TALKER_FAILED, answer);
        List(port, LISTENER_VECTOR, answer);
    }
}

void MSRPHandler::ListDomains(std::ostream& answer) {
    for (uint8_t port = 0; port < PortCount(); ++port) {
        answer << "Port " << int{port} << "\n";
        List(port, DOMAIN, answer);
    }
}

void MSRPHandler::List(uint8_t port, uint8_t type, std::ostream& answer) {
    ForEach(port, type, [&](MRPAttribute& entry) { answer << EntryText(entry); });
}

// The entry hears a received leave, as if its neighbour had withdrawn, not the leave of this bridge's own declaration.
void MSRPHandler::LeaveEntry(uint8_t type, int number, const char* notFound, std::ostream& answer) {
    MRPAttribute* entry = Entry(type, number);
    if (!entry) {
        answer << notFound;
        return;
    }
    answer << "Sending LV to: " << EntryText(*entry);
    RunAttributeStateMachines(entry, entry->port, Event::RLV);
}

MRPAttribute* MSRPHandler::Entry(uint8_t type, int number) {
    MRPAttribute* found = nullptr;
    int next = 0;
    for (uint8_t port = 0; port < PortCount(); ++port) {
        ForEach(port, type, [&](MRPAttribute& entry) {
            if (next++ == number) found = &entry;
        });
    }
    return found;
}

}  // namespace norvad
