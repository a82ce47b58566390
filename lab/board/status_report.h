#pragma once

#include <string>

#include "lab/board/board.h"

namespace norvad::board {

// The tables and counters of a board as text, one line each, grouped under headings.
std::string StatusReport(Board& board, int64_t referenceNs);

}  // namespace norvad::board
