#pragma once

#include <string>

#include "lab/board/board_observer.h"

namespace norvad::board {

// Prints events on standard output, one line each: "HH:MM:SS.mmm board: text", in local time.
class EventPrinter final : public BoardObserver {
public:
    explicit EventPrinter(bool quiet);
    void Event(const std::string& text) override;

private:
    bool quiet;
};

}  // namespace norvad::board
