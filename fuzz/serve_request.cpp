#include <string>

#include "ctl/serve/event_feed.h"
#include "ctl/serve/listen_address.h"
#include "ctl/serve/query.h"
#include "ctl/serve/request_check.h"
#include "fuzz/input.h"

// Any text as what the status page's server reads by itself: the query of a request, its Host, the id of the last event
// that a client saw, and the address to listen at. What is taken is in its range, and an address reads back as itself.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace norvad::ctl;
    using norvad::fuzz::Require;
    const std::string text(data, data + size);

    if (const auto selection = ReadQuery(text)) {
        Require(!selection->port || *selection->port < portNumbers);
        Require(selection->limit == SIZE_MAX || selection->limit <= 1'000'000'000);
        Require(selection->offset <= 1'000'000'000);
    }

    if (const auto endpoint = ReadListenAddress(text)) {
        Require(ReadListenAddress(ListenAddressText(*endpoint)) == endpoint);
    }

    // A port behind the name changes nothing.
    if (NamesThisMachine(text)) Require(text.find_last_of(':') != text.npos || NamesThisMachine(text + ":8021"));

    EventFeed feed(7);
    BridgeState state;
    state.changes.resize(3);
    feed.Add(state);
    const auto position = feed.PositionBehind(text);
    Require(position.change >= 1 && position.change <= 4);
    return 0;
}
