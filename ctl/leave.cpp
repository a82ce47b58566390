#include "ctl/leave.h"

#include <ostream>

#include "ctl/answers.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

enum class Declares { TALKER, LISTENER };

// What a neighbour declares at a port.
struct Target {
    Declares what;
    Id stream;
    unsigned port;
};

Target ReadTarget(const std::vector<std::string>& words) {
    constexpr const char* usage = "leave wants talker or listener, a StreamID and a port from 0 to 6";
    const bool isTalker = words.size() == 4 && words[1] == "talker";
    const bool isListener = words.size() == 4 && words[1] == "listener";
    if (!isTalker && !isListener) throw UsageError(usage);
    const auto stream = ReadId(words[2]);
    const auto port = ReadNumber(words[3], 0, portNumbers - 1);
    if (!stream || !port) throw UsageError(usage);
    return {isTalker ? Declares::TALKER : Declares::LISTENER, *stream, static_cast<unsigned>(*port)};
}

// The daemon's number of the record: nothing when the neighbour declares nothing of that kind there.
template <typename Record>
std::optional<unsigned> NumberOf(const Target& target, const std::vector<Record>& records) {
    for (const Record& record : records) {
        const bool isMeant = record.stream == target.stream && record.port == target.port;
        if (isMeant && record.machines.IsRegistered()) return record.number;
    }
    return {};
}

// A failed talker has no number by which it could be left.
std::optional<unsigned> NumberOf(const Target& target, StreamsAnswer answer) {
    std::erase_if(answer.talkers, [](const TalkerRecord& talker) { return talker.failure.has_value(); });
    return target.what == Declares::TALKER ? NumberOf(target, answer.talkers) : NumberOf(target, answer.listeners);
}

// "Sending LV to: " and the record, without its port.
bool TellsOf(const Target& target, std::string_view answer) {
    constexpr std::string_view begin = "Sending LV to: ";
    if (!answer.starts_with(begin)) return false;
    const StreamsAnswer left = ReadStreams("Port 0\n" + std::string(answer.substr(begin.size())));
    if (target.what == Declares::TALKER) return left.talkers.size() == 1 && left.talkers[0].stream == target.stream;
    return left.listeners.size() == 1 && left.listeners[0].stream == target.stream;
}

}  // namespace

ExitStatus Leave(const Options& options, ControlClient& client, const Terminal& terminal) {
    RefuseUnused(options, {.words = true});
    const Target target = ReadTarget(options.words);
    const auto number = NumberOf(target, ReadStreams(client.Ask("-r")));
    if (!number) {
        terminal.errors << "norvadctl: no neighbour declares that " << options.words[1] << " at port " << target.port
                        << "\n";
        return ExitStatus::FAILED;
    }
    const char* option = target.what == Declares::TALKER ? "-t " : "-l ";
    const std::string answer = client.Command(option + std::to_string(*number));
    if (TellsOf(target, answer)) return ExitStatus::DONE;
    terminal.errors << "norvadctl: the list changed meanwhile, and the daemon answers: " << Printable(answer) << "\n";
    return ExitStatus::FAILED;
}

}  // namespace norvad::ctl
