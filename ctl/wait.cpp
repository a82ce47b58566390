#include "ctl/wait.h"

#include <algorithm>
#include <functional>
#include <ostream>

#include "ctl/bridge_reader.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

constexpr uint64_t periodMs = 1000;  // and the least patience of a look

// Asks the daemon whether it is so.
using Condition = std::function<bool(BridgeReader&)>;

Condition StreamIsReserved(Id id) {
    return [id](BridgeReader& bridge) {
        const auto streams = bridge.Streams();
        return std::any_of(streams.begin(), streams.end(), [id](const Stream& stream) {
            return stream.id == id &&
                   std::any_of(stream.listeners.begin(), stream.listeners.end(), [&](const ListenerRecord& listener) {
                       return stream.ReservedFor(listener) == Reserved::YES;
                   });
        });
    };
}

Condition PortIsAsCapable(unsigned number) {
    return [number](BridgeReader& bridge) {
        const auto ports = bridge.Ports();
        return std::any_of(ports.begin(), ports.end(),
                           [number](const Port& port) { return port.number == number && port.isAvbUp; });
    };
}

bool BridgeHasTime(BridgeReader& bridge) {
    const auto clock = bridge.Time();
    return clock && clock->HasTime();
}

Condition ReadCondition(const std::vector<std::string>& words) {
    const bool isNamed = words.size() == 3;
    if (words.size() == 2 && words[1] == "clock") return BridgeHasTime;
    if (isNamed && words[1] == "port") {
        if (const auto port = ReadNumber(words[2], 0, portNumbers - 1))
            return PortIsAsCapable(static_cast<unsigned>(*port));
    }
    if (isNamed && words[1] == "stream") {
        if (const auto stream = ReadId(words[2])) return StreamIsReserved(*stream);
    }
    throw UsageError("wait wants port and a number from 0 to 6, clock, or stream and a StreamID");
}

}  // namespace

ExitStatus Wait(const Options& options, ControlClient& client, const Terminal& terminal) {
    RefuseUnused(options, {.words = true, .timeout = true});
    const Condition holds = ReadCondition(options.words);
    BridgeReader bridge(client);
    const uint64_t beginMs = client.Door().NowMs();
    uint64_t leftMs = options.timeoutMs;
    for (;;) {
        client.SetPatience(std::min(options.patienceMs, std::max(leftMs, periodMs)));
        std::string reason = "it is not so";
        try {
            if (holds(bridge)) return ExitStatus::DONE;
        } catch (const NoAnswer& none) {
            if (none.reason == NoAnswer::Reason::DENIED) throw;
            reason = none.what();
        }
        const uint64_t passedMs = client.Door().NowMs() - beginMs;
        if (passedMs >= options.timeoutMs) {
            terminal.errors << "norvadctl: waited " << passedMs / 1000 << " s: " << reason << "\n";
            return ExitStatus::FAILED;
        }
        leftMs = options.timeoutMs - passedMs;
        client.Door().Pause(std::min(periodMs, leftMs));
    }
}

}  // namespace norvad::ctl
