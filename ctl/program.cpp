#include "ctl/program.h"

#include <ostream>

#include "ctl/bridge_reader.h"
#include "ctl/commands.h"
#include "ctl/events.h"
#include "ctl/explain.h"
#include "ctl/json_views.h"
#include "ctl/leave.h"
#include "ctl/print_metrics.h"
#include "ctl/table.h"
#include "ctl/text.h"
#include "ctl/views.h"
#include "ctl/wait.h"
#include "ctl/watch.h"

namespace norvad::ctl {

namespace {

constexpr size_t streamsOnScreen = 20;

class Viewing {
public:
    Viewing(const Options& options, ControlClient& client, const Terminal& terminal)
        : options(options), bridge(client), terminal(terminal) {}

    void ShowPorts() { ShowList("ports", bridge.Ports(), PortTable, PortsJson); }
    void ShowStreams() { ShowList("streams", bridge.Streams(), StreamTable, StreamsJson); }
    void ShowVlans() { ShowList("vlans", bridge.Vlans(), VlanTable, VlansJson); }
    void ShowDomains() { ShowList("domains", bridge.Domains(), DomainTable, DomainsJson); }
    void ShowClock();
    void ShowEverything();
    void ShowExplanation();

    // Says what was left out because it was not understood.
    ExitStatus End();

private:
    void Show(const Table& table) { terminal.output << Render(table, terminal.colours); }

    template <typename Item>
    void ShowList(const char* name, const std::vector<Item>& all, Table (*tabulate)(const std::vector<Item>&),
                  Json (*describe)(const std::vector<Item>&)) {
        const auto items = Filter(options.selection, all);
        if (options.json) {
            document["count"] = items.size();
            if (!options.count) document[name] = describe(Page(options.selection, items));
        } else if (options.count) {
            terminal.output << items.size() << "\n";
        } else {
            Show(tabulate(Page(options.selection, items)));
        }
    }

    const Options& options;
    BridgeReader bridge;
    const Terminal& terminal;
    Json document = {{"version", jsonVersion}};
    bool isSomethingMissing = false;
};

void Viewing::ShowClock() {
    const auto clock = bridge.Time();
    if (options.json) {
        document["clock"] = clock ? ClockJson(*clock) : Json(nullptr);
    } else if (clock) {
        Show(ClockTable(*clock));
    }
}

void Viewing::ShowEverything() {
    const auto clock = bridge.Time();
    const auto ports = bridge.Ports();
    const auto streams = bridge.Streams();
    const auto vlans = bridge.Vlans();
    Selection first = options.selection;
    if (first.limit == SIZE_MAX) first.limit = streamsOnScreen;

    if (options.json) {
        document["clock"] = clock ? ClockJson(*clock) : Json(nullptr);
        document["ports"] = PortsJson(Filter(options.selection, ports));
        document["streams"] = StreamsJson(Page(options.selection, Filter(options.selection, streams)));
        document["vlans"] = VlansJson(Filter(options.selection, vlans));
        return;
    }
    if (clock) terminal.output << ClockLine(*clock) << "\n\n";
    Show(PortTable(Filter(options.selection, ports)));
    const auto selected = Filter(first, streams);
    const auto shown = Page(first, selected);
    terminal.output << "\n" << StreamCountText(selected.size()) << "\n";
    if (!shown.empty()) Show(StreamTable(shown));
    if (shown.size() < selected.size()) {
        terminal.output << "... and " << selected.size() - shown.size() << " more: norvadctl streams\n";
    }
    terminal.output << "\n";
    Show(VlanTable(Filter(options.selection, vlans)));
}

void Viewing::ShowExplanation() {
    RefuseUnused(options, {.words = true, .json = true});
    const Explanation explanation = Explain(options.words, bridge);
    isSomethingMissing = explanation.FirstMissing() != nullptr;
    if (options.json) {
        document["explanation"] = ExplanationJson(explanation);
    } else {
        terminal.output << ExplanationText(explanation, terminal.colours);
    }
}

ExitStatus Viewing::End() {
    const NotUnderstood& notUnderstood = bridge.LinesNotUnderstood();
    if (options.json) {
        document["notUnderstood"] = NotUnderstoodJson(notUnderstood);
        terminal.output << document.dump() << "\n";
    }
    if (SayNotUnderstood(notUnderstood, terminal)) return ExitStatus::FAILED;
    return isSomethingMissing ? ExitStatus::FAILED : ExitStatus::DONE;
}

struct View {
    const char* name;
    void (Viewing::*show)();
    bool takesWords = false;
};

constexpr View views[] = {
    {"ports", &Viewing::ShowPorts}, {"streams", &Viewing::ShowStreams},
    {"vlans", &Viewing::ShowVlans}, {"domains", &Viewing::ShowDomains},
    {"clock", &Viewing::ShowClock}, {"explain", &Viewing::ShowExplanation, true},
};

// What is more than a view of one answer.
struct Task {
    const char* name;
    ExitStatus (*run)(const Options& options, ControlClient& client, const Terminal& terminal);
};

constexpr Task tasks[] = {
    {"events", ShowEvents}, {"metrics", PrintMetrics}, {"wait", Wait}, {"watch", Watch}, {"leave", Leave},
};

// The daemon says OK, or what it did not like.
ExitStatus Carry(const std::string& request, ControlClient& client, const Terminal& terminal) {
    const std::string answer = client.Command(request);
    if (answer == "OK") return ExitStatus::DONE;
    terminal.errors << "norvadctl: the daemon answers: " << Printable(answer) << "\n";
    return ExitStatus::FAILED;
}

}  // namespace

bool SayNotUnderstood(const NotUnderstood& notUnderstood, const Terminal& terminal) {
    if (notUnderstood.count == 0) return false;
    terminal.errors << "norvadctl: " << notUnderstood.count << " lines of the daemon's answer were not understood:\n";
    for (const std::string& line : notUnderstood.lines) terminal.errors << "  " << Printable(line) << "\n";
    return true;
}

ExitStatus Run(const Options& options, ControlClient& client, const Terminal& terminal) {
    if (const auto request = RequestFor(options.words)) {
        RefuseUnused(options, {.words = true});
        return Carry(*request, client, terminal);
    }
    for (const Task& task : tasks) {
        if (!options.words.empty() && options.words[0] == task.name) return task.run(options, client, terminal);
    }
    Viewing viewing(options, client, terminal);
    if (options.words.empty()) {
        viewing.ShowEverything();
        return viewing.End();
    }
    for (const View& view : views) {
        if (options.words[0] != view.name) continue;
        if (options.words.size() > 1 && !view.takesWords)
            throw UsageError(options.words[0] + " takes no further words");
        (viewing.*view.show)();
        return viewing.End();
    }
    throw UsageError("there is no '" + Printable(options.words[0]) + "'; norvadctl --help lists what there is");
}

}  // namespace norvad::ctl
