#include "ctl/table.h"

#include <algorithm>
#include <map>
#include <string_view>

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

size_t Width(const Cell& cell, bool colours) {
    return cell.text.size() + (cell.isChanged && !colours ? 1 : 0);
}

std::vector<size_t> Widths(const Table& table, bool colours) {
    std::vector<size_t> widths;
    for (const std::string& heading : table.headings) widths.push_back(heading.size());
    for (const Row& row : table.rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], Width(row[column], colours));
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
        gap = widths[column] - Width(cell, colours) + 2 + (cell.text.empty() ? gap : 0);
    }
    return line + "\n";
}

}  // namespace

void MarkChanges(Table& table, const Table& before, size_t columns) {
    std::map<std::string_view, const Row*> rowsBefore;
    for (const Row& row : before.rows) rowsBefore.emplace(row.front().text, &row);
    for (Row& row : table.rows) {
        const auto was = rowsBefore.find(row.front().text);
        for (size_t column = 0; column < std::min(row.size(), columns); ++column) {
            row[column].isChanged = was == rowsBefore.end() || (*was->second)[column].text != row[column].text;
        }
    }
}

std::string Coloured(const Cell& cell, bool colours) {
    if (!colours) return (cell.isChanged ? "*" : "") + cell.text;
    const std::string begin = std::string(Colour(cell.mark)) + (cell.isChanged ? "\033[7m" : "");
    return begin.empty() ? cell.text : begin + cell.text + "\033[0m";
}

std::string Render(const Table& table, bool colours) {
    const std::vector<size_t> widths = Widths(table, colours);
    Row headings;
    for (const std::string& heading : table.headings) headings.push_back({heading, Mark::FAINT});
    std::string text = RenderRow(headings, widths, colours);
    for (const Row& row : table.rows) text += RenderRow(row, widths, colours);
    return text;
}

}  // namespace norvad::ctl
