#include "ctl/events.h"

#include <ostream>

#include "ctl/local_time.h"
#include "ctl/observer.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

constexpr uint64_t periodMs = 1000;

// The daemon's own coming and going concerns every port and every stream.
bool Selects(const Selection& selection, const Change& change) {
    if (change.kind == ChangeKind::DAEMON_GONE || change.kind == ChangeKind::DAEMON_BACK) return true;
    return (!selection.port || change.port == selection.port) &&
           (!selection.stream || change.stream == selection.stream);
}

std::string Line(const Change& change, const timeval& time, bool json) {
    if (json) return EventJson(change, time).dump();
    return LocalTimeText(time) + " " + Printable(change.text);
}

}  // namespace

ExitStatus ShowEvents(const Options& options, ControlClient& client, const Terminal& terminal) {
    RefuseUnused(options, {.json = true, .filters = true});
    Observer observer(client);
    bool hasComplained = false;
    for (;;) {
        for (const Change& change : observer.Look()) {
            if (!Selects(options.selection, change)) continue;
            terminal.output << Line(change, client.Door().TimeOfDay(), options.json) << "\n";
        }
        if (!terminal.output.flush()) return ExitStatus::DONE;
        if (!hasComplained) hasComplained = SayNotUnderstood(observer.LinesNotUnderstood(), terminal);
        client.Door().Pause(periodMs);
    }
}

Json EventJson(const Change& change, const timeval& time) {
    Json event = {{"time", LocalTimeRfc3339(time)}, {"kind", Name(change.kind)}};
    if (change.port) event["port"] = *change.port;
    if (change.stream) event["stream"] = IdText(*change.stream);
    if (change.vid) event["vid"] = *change.vid;
    event["text"] = change.text;
    return {{"version", jsonVersion}, {"event", event}};
}

}  // namespace norvad::ctl
