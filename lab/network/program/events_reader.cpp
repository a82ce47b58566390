#include <array>

#include "lab/network/program/readers.h"

namespace norvad::network {

namespace {

enum class Subject : uint8_t { LINK, BRIDGE, STATION };

struct HappeningName {
    const char* name;
    Happening happening;
    Subject subject;
};

constexpr std::array<HappeningName, 9> happeningNames{{
    {"cut", Happening::CUT, Subject::LINK},
    {"mend", Happening::MEND, Subject::LINK},
    {"power off", Happening::POWER_OFF, Subject::BRIDGE},
    {"power on", Happening::POWER_ON, Subject::BRIDGE},
    {"kill", Happening::KILL, Subject::BRIDGE},
    {"start", Happening::START, Subject::BRIDGE},
    {"priority1 of", Happening::PRIORITY, Subject::BRIDGE},
    {"leave", Happening::LEAVE, Subject::STATION},
    {"come", Happening::COME, Subject::STATION},
}};

size_t Find(Subject subject, const FileValue& value, const Names& names) {
    switch (subject) {
        case Subject::LINK:
            return names.Link(value);
        case Subject::BRIDGE:
            return names.Bridge(value);
        case Subject::STATION:
            break;
    }
    return names.Station(value);
}

}  // namespace

EventPlan ReadEvent(const FileValue& value, const Names& names) {
    FileMap map(value);
    EventPlan event;
    event.atNs = static_cast<uint64_t>(map.Need("at").DurationNs(0, longestRunNs));
    for (const auto& [name, happening, subject] : happeningNames) {
        const auto found = map.Find(name);
        if (!found) continue;
        if (!event.text.empty()) found->Refuse("an event is one thing that happens");
        event.happening = happening;
        event.index = Find(subject, *found, names);
        event.text = std::string(name) + " " + found->Text();
    }
    if (event.text.empty()) map.RefuseOthers();
    if (event.text.empty()) value.Refuse("nothing happens here");
    if (event.happening == Happening::PRIORITY) {
        event.number = static_cast<int32_t>(map.Need("to").Number(0, 255));
        event.text += " to " + std::to_string(event.number);
    }
    map.RefuseOthers();
    return event;
}

}  // namespace norvad::network
