#include "msrp/msrp_control.h"

#include <boost/program_options.hpp>
#include <ostream>

#include "base/log.h"
#include "mrp/listing.h"

namespace norvad {

void MSRPControl::AddOptions(boost::program_options::options_description& options) {
    using boost::program_options::value;
    options.add_options()("msrp,r", "show MSRP entries")("dom,o", "show MSRP domain entries")(
        "listenerlv,l", value<int>(), "send EVENT_LV to MSRP listener entry n")("talkerlv,t", value<int>(),
                                                                                "send EVENT_LV to MSRP talker entry n");
}

void MSRPControl::HandleOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    if (values.count("msrp")) {
        ListAttributes(database, {TALKER_ADVERTISE, TALKER_FAILED, LISTENER_VECTOR}, answer);
    } else if (values.count("dom")) {
        ListAttributes(database, {DOMAIN}, answer);
    } else if (values.count("listenerlv")) {
        log(LogCategory::MSRP, 0, "[SW-MSRP] ListenerLeave\n");
        LeaveEntry(LISTENER_VECTOR, values["listenerlv"].as<int>(), "Listener not found", answer);
    } else if (values.count("talkerlv")) {
        log(LogCategory::MSRP, 0, "[SW-MSRP] TalkerLeave\n");
        LeaveEntry(TALKER_ADVERTISE, values["talkerlv"].as<int>(), "Talker not found", answer);
    }
}

// The entry hears a received leave, as if its neighbour had withdrawn, not the leave of this bridge's own declaration.
void MSRPControl::LeaveEntry(uint8_t type, int number, const char* notFound, std::ostream& answer) {
    MRPAttribute* entry = Entry(type, number);
    if (!entry) {
        answer << notFound;
        return;
    }
    answer << "Sending LV to: " << ListingLine(*entry);
    database.RunAttributeStateMachines(entry, entry->port, Event::RLV);
}

MRPAttribute* MSRPControl::Entry(uint8_t type, int number) {
    MRPAttribute* found = nullptr;
    int next = 0;
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        database.ForEach(port, type, [&](MRPAttribute& entry) {
            if (next++ == number) found = &entry;
        });
    }
    return found;
}

}  // namespace norvad
