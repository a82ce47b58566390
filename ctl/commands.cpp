#include "ctl/commands.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include "ctl/options.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

using Words = std::vector<std::string>;

constexpr std::array<std::string_view, 6> logCategories = {"socket", "mrp", "msrp", "mvrp", "ptp", "ioctl"};
constexpr unsigned highestLogLevel = 9;  // of the lines that there are, 6

void Want(bool holds, const char* usage) {
    if (!holds) throw UsageError(usage);
}

// As the daemon's parser takes it.
std::string Number(const std::string& word, unsigned smallest, unsigned largest, const char* usage) {
    const auto number = ReadNumber(word, smallest, largest);
    Want(number.has_value(), usage);
    return std::to_string(*number);
}

std::string Log(const Words& words) {
    constexpr const char* usage = "log wants socket, mrp, msrp, mvrp, ptp or ioctl and a level from 0 to 9";
    Want(words.size() == 3, usage);
    Want(std::find(logCategories.begin(), logCategories.end(), words[1]) != logCategories.end(), usage);
    return "-d " + words[1] + " " + Number(words[2], 0, highestLogLevel, usage);
}

std::string Priority(const Words& words) {
    constexpr const char* usage = "priority wants a number from 0 to 255";
    Want(words.size() == 2, usage);
    return "-m " + Number(words[1], 0, 255, usage);
}

std::string Window(const Words& words) {
    Want(words.size() == 2 && (words[1] == "running" || words[1] == "growing"), "window wants running or growing");
    return words[1] == "running" ? "-w 0" : "-w 1";
}

// The daemon sets both ports at once, by a mask.
std::string Force(const Words& words) {
    constexpr const char* usage = "force wants the ports that shall be AS capable: none, 0, 1, or 0 1";
    Want(words.size() >= 2, usage);
    if (words.size() == 2 && words[1] == "none") return "-a 0";
    unsigned mask = 0;
    for (size_t word = 1; word < words.size(); ++word) {
        const unsigned bit = 1u << (words[word] == "1" ? 1 : 0);
        Want((words[word] == "0" || words[word] == "1") && (mask & bit) == 0, usage);
        mask |= bit;
    }
    return "-a " + std::to_string(mask);
}

std::string Egress(const Words& words) {
    constexpr const char* usage = "egress wants a port, 0 or 1, and a percentage from 2 to 99";
    Want(words.size() == 3 && (words[1] == "0" || words[1] == "1"), usage);
    return "-" + words[1] + " " + Number(words[2], 2, 99, usage);
}

}  // namespace

std::optional<std::string> RequestFor(const Words& words) {
    static const std::map<std::string_view, std::string (*)(const Words&)> commands = {
        {"log", Log}, {"priority", Priority}, {"window", Window}, {"force", Force}, {"egress", Egress},
    };
    const auto command = words.empty() ? commands.end() : commands.find(words[0]);
    if (command == commands.end()) return {};
    return command->second(words);
}

}  // namespace norvad::ctl
