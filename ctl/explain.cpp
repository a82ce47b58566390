#include "ctl/explain.h"

#include "ctl/clock_steps.h"
#include "ctl/options.h"
#include "ctl/port_steps.h"
#include "ctl/stream_steps.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

Explanation ExplainPort(unsigned port, BridgeReader& reader) {
    const Snapshot bridge{reader.Ports(), {}, reader.Vlans(), reader.Domains(), reader.Time()};
    Explanation explanation{LinkSteps(bridge, port)};
    for (Step& step : NeighbourSteps(bridge, port)) explanation.steps.push_back(std::move(step));
    return explanation;
}

Explanation ExplainStream(Id stream, BridgeReader& reader) {
    return {StreamSteps(reader.All(), stream)};
}

Explanation ExplainClock(BridgeReader& reader) {
    return {ClockSteps({reader.Ports(), {}, {}, {}, reader.Time()})};
}

}  // namespace

Explanation Explain(const std::vector<std::string>& words, BridgeReader& reader) {
    const bool isNamed = words.size() == 3;
    if (words.size() == 2 && words[1] == "clock") return ExplainClock(reader);
    if (isNamed && words[1] == "port" && (words[2] == "0" || words[2] == "1")) {
        return ExplainPort(words[2] == "1" ? 1 : 0, reader);
    }
    if (isNamed && words[1] == "stream") {
        if (const auto stream = ReadId(words[2])) return ExplainStream(*stream, reader);
    }
    throw UsageError("explain wants port 0, port 1, clock, or stream and a StreamID such as 02:00:00:00:00:a0:00:01");
}

}  // namespace norvad::ctl
