#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace norvad::ctl {

struct ScreenSize {
    unsigned columns = 80;
    unsigned rows = 24;
};

// A terminal that is drawn on in place. The user's own screen, with what was on it, comes back with the end of this
// object.
class Screen {
public:
    explicit Screen(std::ostream& terminal);
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    // Writes over what was drawn before, so that nothing flickers; what finds no room on the screen is cut off.
    void Draw(const std::vector<std::string>& lines, const ScreenSize& size);

private:
    std::ostream& terminal;
};

// The first columns of a line of ASCII; colours take no room.
std::string CutToWidth(std::string_view line, size_t columns);

}  // namespace norvad::ctl
