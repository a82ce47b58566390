#include "ctl/screen.h"

#include <algorithm>
#include <ostream>

namespace norvad::ctl {

namespace {

constexpr const char* otherScreen = "\033[?1049h";
constexpr const char* ownScreen = "\033[?1049l";
constexpr const char* hideCursor = "\033[?25l";
constexpr const char* showCursor = "\033[?25h";
constexpr const char* home = "\033[H";
constexpr const char* eraseLineFromHere = "\033[K";
constexpr const char* eraseScreenFromHere = "\033[J";

}  // namespace

Screen::Screen(std::ostream& terminal) : terminal(terminal) {
    terminal << otherScreen << hideCursor << std::flush;
}

Screen::~Screen() {
    terminal << showCursor << ownScreen << std::flush;
}

// The last column stays empty: behind a character there, erasing the rest of the line would take the character.
void Screen::Draw(const std::vector<std::string>& lines, const ScreenSize& size) {
    std::string drawing = home;
    for (size_t line = 0; line < std::min<size_t>(lines.size(), size.rows); ++line) {
        if (line > 0) drawing += "\r\n";
        drawing += CutToWidth(lines[line], std::max(size.columns, 2U) - 1) + eraseLineFromHere;
    }
    terminal << drawing << eraseScreenFromHere << std::flush;
}

std::string CutToWidth(std::string_view line, size_t columns) {
    std::string cut;
    bool isColoured = false;
    for (size_t at = 0; at < line.size();) {
        if (line[at] == '\033') {
            const size_t end = std::min(line.find('m', at), line.size() - 1);
            cut += line.substr(at, end + 1 - at);
            isColoured = true;
            at = end + 1;
            continue;
        }
        if (columns-- == 0) return cut + (isColoured ? "\033[0m" : "");
        cut += line[at++];
    }
    return cut;
}

}  // namespace norvad::ctl
