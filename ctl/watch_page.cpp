#include "ctl/watch_page.h"

#include <fmt/format.h>

#include <algorithm>

#include "ctl/text.h"
#include "ctl/views.h"

namespace norvad::ctl {

namespace {

using Lines = std::vector<std::string>;

constexpr size_t mostVlans = 6;
constexpr size_t fewestStreams = 3;

void Append(Lines& lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

// With an empty line behind it.
Lines TableLines(const Table& table, bool colours) {
    const std::string text = Render(table, colours);
    Lines lines;
    for (size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
        lines.push_back(text.substr(begin, text.find('\n', begin) - begin));
    }
    lines.emplace_back();
    return lines;
}

template <typename Item>
Table Marked(Table (*tabulate)(const std::vector<Item>&), const std::vector<Item>& now,
             const std::vector<Item>& before) {
    Table table = tabulate(now);
    MarkChanges(table, tabulate(before));
    return table;
}

constexpr size_t notMeasuredColumns = 4;

Table ClockRow(const Clock& clock) {
    return {{"", "STATE", "GRANDMASTER", "STEPS", "OFFSET", "RMS", "DELAY 0", "DELAY 1"},
            {{{"clock"},
              {clock.state, clock.HasTime() ? Mark::GOOD : Mark::BAD},
              {ClockIdText(clock.grandmaster)},
              {std::to_string(clock.stepsRemoved)},
              {fmt::format("{} ns", clock.offsetNs)},
              {fmt::format("{:.6g} ns", clock.rms)},
              {fmt::format("{} ns", clock.linkDelayNs[0])},
              {fmt::format("{} ns", clock.linkDelayNs[1])}}}};
}

// Those of the streams that are among the others; both in ascending order of StreamID.
std::vector<Stream> SameStreams(const std::vector<Stream>& streams, const std::vector<Stream>& others) {
    std::vector<Stream> same;
    for (const Stream& other : others) {
        const auto found = std::lower_bound(streams.begin(), streams.end(), other.id,
                                            [](const Stream& stream, Id id) { return stream.id < id; });
        if (found != streams.end() && found->id == other.id) same.push_back(*found);
    }
    return same;
}

// The snapshots of a page, with one that has nothing to be compared with as its own predecessor.
struct Comparing {
    const Snapshot& before;
    const Snapshot& now;
    const Selection& selection;
    bool colours;

    Lines Top() const;
    Lines Streams(size_t rows) const;
    Lines Vlans() const;
};

Lines Comparing::Top() const {
    Lines lines;
    if (now.clock) {
        Table clock = ClockRow(*now.clock);
        MarkChanges(clock, ClockRow(before.clock.value_or(*now.clock)), notMeasuredColumns);
        Append(lines, TableLines(clock, colours));
    }
    Append(lines,
           TableLines(Marked(PortTable, Filter(selection, now.ports), Filter(selection, before.ports)), colours));
    return lines;
}

Lines Comparing::Streams(size_t rows) const {
    const auto selected = Filter(selection, now.streams);
    Selection page = selection;
    page.limit = std::min(selection.limit, rows);
    const auto shown = Page(page, selected);
    Lines lines = {StreamCountText(selected.size())};
    if (shown.size() < selected.size()) {
        lines[0] += fmt::format(", of which {} from {} on are shown (--offset)", shown.size(), selection.offset);
    }
    if (shown.empty()) {
        lines.emplace_back();
    } else {
        Append(lines, TableLines(Marked(StreamTable, shown, SameStreams(before.streams, shown)), colours));
    }
    return lines;
}

Lines Comparing::Vlans() const {
    Table table = Marked(VlanTable, Filter(selection, now.vlans), Filter(selection, before.vlans));
    const size_t all = table.rows.size();
    table.rows.resize(std::min(all, mostVlans));
    Lines lines = TableLines(table, colours);
    if (all > mostVlans) lines.back() = fmt::format("... and {} more: norvadctl vlans", all - mostVlans);
    return lines;
}

}  // namespace

std::vector<std::string> WatchPage::Lines(const Selection& selection, const ScreenSize& size, bool colours) const {
    constexpr size_t aroundStreams = 3;  // how many there are, the headings, an empty line
    std::vector<std::string> lines = {Coloured(heading, colours), ""};
    if (!now) return lines;
    const Comparing comparing{before ? *before : *now, *now, selection, colours};
    Append(lines, comparing.Top());
    std::vector<std::string> bottom = comparing.Vlans();
    Append(bottom, recent);
    const size_t taken = lines.size() + bottom.size() + aroundStreams;
    Append(lines, comparing.Streams(size.rows > taken + fewestStreams ? size.rows - taken : fewestStreams));
    Append(lines, bottom);
    lines.resize(std::min<size_t>(lines.size(), size.rows));
    return lines;
}

}  // namespace norvad::ctl
