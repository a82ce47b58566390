#include "ctl/screen.h"

#include <gtest/gtest.h>

#include <sstream>

namespace norvad::ctl {
namespace {

TEST(Screen, GivesTheUsersOwnScreenBack) {
    std::ostringstream terminal;
    {
        Screen screen(terminal);
        EXPECT_EQ(terminal.str(), "\033[?1049h\033[?25l");
    }
    EXPECT_EQ(terminal.str(), "\033[?1049h\033[?25l\033[?25h\033[?1049l");
}

TEST(Screen, DrawsOverWhatWasThereAndErasesTheRest) {
    std::ostringstream terminal;
    Screen screen(terminal);
    terminal.str("");

    screen.Draw({"one", "two"}, {.columns = 80, .rows = 24});

    EXPECT_EQ(terminal.str(), "\033[Hone\033[K\r\ntwo\033[K\033[J");
}

TEST(Screen, CutsWhatFindsNoRoom) {
    std::ostringstream terminal;
    Screen screen(terminal);
    terminal.str("");

    screen.Draw({"abcdef", "ghi", "jkl"}, {.columns = 5, .rows = 2});
    EXPECT_EQ(terminal.str(), "\033[Habcd\033[K\r\nghi\033[K\033[J");

    terminal.str("");
    screen.Draw({"abcdef"}, {.columns = 0, .rows = 0});
    EXPECT_EQ(terminal.str(), "\033[H\033[J");
}

TEST(Screen, CutsColouredLinesByWhatIsSeenOfThem) {
    EXPECT_EQ(CutToWidth("abc", 3), "abc");
    EXPECT_EQ(CutToWidth("abc", 2), "ab");
    EXPECT_EQ(CutToWidth("\033[31mabc\033[0m", 3), "\033[31mabc\033[0m");
    EXPECT_EQ(CutToWidth("\033[31mabc\033[0m", 2), "\033[31mab\033[0m");
    EXPECT_EQ(CutToWidth("ab\033[31mc\033[0m", 0), "");
    EXPECT_EQ(CutToWidth("ab\033[3", 5), "ab\033[3");
}

}  // namespace
}  // namespace norvad::ctl
