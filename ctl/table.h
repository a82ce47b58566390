#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace norvad::ctl {

// What a cell says of its subject; shown as a colour where colours are wanted.
enum class Mark { PLAIN, GOOD, BAD, FAINT };

struct Cell {
    std::string text;
    Mark mark = Mark::PLAIN;
    bool isChanged = false;  // shown in reverse, or behind a '*' where colours are not wanted
};

using Row = std::vector<Cell>;

// Columns as wide as their widest cell, two blanks apart. Every row has as many cells as there are headings.
struct Table {
    std::vector<std::string> headings;
    std::vector<Row> rows;
};

// Marks the cells, in the first columns, that say something else than before. Rows are told apart by their first cell;
// one that was not there is marked all over.
void MarkChanges(Table& table, const Table& before, size_t columns = SIZE_MAX);

std::string Coloured(const Cell& cell, bool colours);
std::string Render(const Table& table, bool colours);

}  // namespace norvad::ctl
