#pragma once

#include <string>
#include <vector>

namespace norvad::ctl {

// What a cell says of its subject; shown as a colour where colours are wanted.
enum class Mark { PLAIN, GOOD, BAD, FAINT };

struct Cell {
    std::string text;
    Mark mark = Mark::PLAIN;
};

using Row = std::vector<Cell>;

// Columns as wide as their widest cell, two blanks apart. Every row has as many cells as there are headings.
struct Table {
    std::vector<std::string> headings;
    std::vector<Row> rows;
};

std::string Coloured(const Cell& cell, bool colours);
std::string Render(const Table& table, bool colours);

}  // namespace norvad::ctl
