#pragma once

#include <optional>
#include <vector>

#include "ctl/answers.h"
#include "ctl/control_client.h"
#include "ctl/model.h"
#include "ctl/streams.h"

namespace norvad::ctl {

// What the daemon answered to one question after the other: the bridge as it was in those milliseconds.
struct Snapshot {
    std::vector<Port> ports;
    std::vector<Stream> streams;  // in ascending order of StreamID
    std::vector<Vlan> vlans;
    std::vector<Domain> domains;
    std::optional<Clock> clock;  // none: the answer held no status line
};

// Asks the daemon for values, and keeps what of its answers was not understood. Throws NoAnswer.
class BridgeReader {
public:
    explicit BridgeReader(ControlClient& client) : client(client) {}

    std::vector<Port> Ports() { return Noted(ReadPorts(client.Ask("-s"))).ports; }
    std::vector<Stream> Streams() { return GroupByStream(Noted(ReadStreams(client.Ask("-r")))); }
    std::vector<Vlan> Vlans() { return Noted(ReadVlans(client.Ask("-v"))).vlans; }
    std::vector<Domain> Domains() { return Noted(ReadDomains(client.Ask("-o"))).domains; }
    std::optional<Clock> Time() { return Noted(ReadClock(client.Ask("-p"))).clock; }
    Snapshot All() { return {Ports(), Streams(), Vlans(), Domains(), Time()}; }

    const NotUnderstood& LinesNotUnderstood() const { return notUnderstood; }

private:
    template <typename Answer>
    Answer Noted(Answer answer) {
        notUnderstood.Add(answer.notUnderstood);
        return answer;
    }

    ControlClient& client;
    NotUnderstood notUnderstood;
};

}  // namespace norvad::ctl
