#pragma once

#include <string>

namespace norvad::board {

// Hears in one line each what the daemon asks of the driver and what becomes of the links.
class BoardObserver {
public:
    virtual ~BoardObserver() = default;
    virtual void Event(const std::string& text) = 0;
};

}  // namespace norvad::board
