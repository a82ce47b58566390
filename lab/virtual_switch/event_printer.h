#pragma once

#include "lab/board/board_observer.h"
#include "lab/common/event_lines.h"

namespace norvad::board {

// Prints what the board tells, unless it is to be quiet.
class EventPrinter final : public BoardObserver {
public:
    explicit EventPrinter(bool quiet) : quiet(quiet) {}
    void Event(const std::string& text) override {
        if (!quiet) lines.Print(text);
    }

private:
    bool quiet;
    lab::EventLines lines{"board"};
};

}  // namespace norvad::board
