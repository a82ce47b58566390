#include "ctl/table.h"

#include <algorithm>

namespace norvad::ctl {

namespace {

const char* Colour(Mark mark) {
    switch (mark) {
        case Mark::GOOD:
            return "\033[32m";
        case Mark::BAD:
            return "\033[31m";
        case Mark::FAINT:
            return "\033[2m";
        case Mark::PLAIN:
            break;
    }
    return "";
}

std::vector<size_t> Widths(const Table& table) {
    std::vector<size_t> widths;
    for (const std::string& heading : table.headings) widths.push_back(heading.size());
    for (const Row& row : table.rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].text.size());
        }
    }
    return widths;
}

std::string RenderRow(const Row& row, const std::vector<size_t>& widths, bool colours) {
    std::string line;
    size_t gap = 0;
    for (size_t column = 0; column < row.size(); ++column) {
        const Cell& cell = row[column];
        if (!cell.text.empty()) line += std::string(gap, ' ') + Coloured(cell, colours);
        gap = widths[column] - cell.text.size() + 2 + (cell.text.empty() ? gap : 0);
    }
    return line + "\n";
}

}  // namespace

std::string Coloured(const Cell& cell, bool colours) {
    if (!colours || cell.mark == Mark::PLAIN) return cell.text;
    return Colour(cell.mark) + cell.text + "\033[0m";
}

std::string Render(const Table& table, bool colours) {
    const std::vector<size_t> widths = Widths(table);
    Row headings;
    for (const std::string& heading : table.headings) headings.push_back({heading, Mark::FAINT});
    std::string text = RenderRow(headings, widths, colours);
    for (const Row& row : table.rows) text += RenderRow(row, widths, colours);
    return text;
}

}  // namespace norvad::ctl
