#include "ctl/watch.h"

#include <deque>
#include <ostream>

#include "ctl/local_time.h"
#include "ctl/observer.h"
#include "ctl/text.h"
#include "ctl/watch_page.h"

namespace norvad::ctl {

namespace {

constexpr size_t mostRecent = 5;

uint64_t ReadPeriodMs(const std::vector<std::string>& words) {
    constexpr uint64_t longestPeriodS = 86'400;
    if (words.size() == 1) return 1000;
    const auto seconds = words.size() == 2 ? ReadNumber(words[1], 1, longestPeriodS) : std::nullopt;
    if (!seconds) throw UsageError("watch wants a number of seconds from 1 to 86400, or nothing");
    return *seconds * 1000;
}

class Watching {
public:
    Watching(const Options& options, ControlClient& client, const Terminal& terminal)
        : selection(options.selection),
          door(client.Door()),
          observer(client),
          terminal(terminal),
          screen(terminal.output) {}

    void Look() {
        before = observer.Last();
        const auto changes = observer.Look();
        lookedAt = door.TimeOfDay();
        for (const Change& change : changes) recent.push_back(LocalTimeText(lookedAt) + " " + Printable(change.text));
        while (recent.size() > mostRecent) recent.pop_front();
    }

    void Draw() {
        WatchPage page;
        page.heading = {"norvad3 at " + LocalTimeText(lookedAt)};
        if (!observer.IsAnswered()) {
            page.heading = {page.heading.text + ": " + Printable(observer.Silence()), Mark::BAD};
        }
        if (before) page.before = &*before;
        if (observer.Last()) page.now = &*observer.Last();
        page.recent = {recent.begin(), recent.end()};
        const ScreenSize size = terminal.screenSize().value_or(ScreenSize{});
        screen.Draw(page.Lines(selection, size, terminal.colours), size);
    }

    // Draws again whenever the terminal's size changes.
    void RestFor(uint64_t periodMs) {
        const uint64_t endMs = door.NowMs() + periodMs;
        for (uint64_t nowMs = door.NowMs(); nowMs < endMs; nowMs = door.NowMs()) {
            if (door.PauseUntilResized(endMs - nowMs)) Draw();
        }
    }

private:
    const Selection& selection;
    ControlDoor& door;
    Observer observer;
    const Terminal& terminal;
    Screen screen;
    std::optional<Snapshot> before;  // what the last look is compared with
    timeval lookedAt{};
    std::deque<std::string> recent;
};

}  // namespace

ExitStatus Watch(const Options& options, ControlClient& client, const Terminal& terminal) {
    RefuseUnused(options, {.words = true, .filters = true, .pages = true});
    if (options.count) throw UsageError("watch makes no use of --count");
    const uint64_t periodMs = ReadPeriodMs(options.words);
    if (!terminal.screenSize()) {
        throw UsageError("watch draws on a terminal; norvadctl events prints what changes anywhere");
    }
    Watching watching(options, client, terminal);
    while (terminal.output) {
        watching.Look();
        watching.Draw();
        watching.RestFor(periodMs);
    }
    return ExitStatus::DONE;
}

}  // namespace norvad::ctl
