#pragma once

#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace norvad::test {

// The cells of a table written as text, by the names of row and column.
using Grid = std::map<std::pair<std::string, std::string>, std::string>;

inline std::vector<std::string> WordsOf(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

// The first line names the columns, every other one starts with its row's name. Too short a row throws.
inline Grid ParseGrid(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> columns;
    Grid grid;
    for (std::string line; std::getline(stream, line);) {
        const std::vector<std::string> words = WordsOf(line);
        if (words.empty()) continue;
        if (columns.empty()) {
            columns = words;
            continue;
        }
        for (size_t column = 1; column < columns.size(); ++column) {
            grid[{words.front(), columns[column]}] = words.at(column);
        }
    }
    return grid;
}

// Every value of an enum that counts from 0.
template <typename Enum>
std::vector<Enum> AllOf(size_t count) {
    std::vector<Enum> values;
    for (size_t value = 0; value < count; ++value) values.push_back(static_cast<Enum>(value));
    return values;
}

}  // namespace norvad::test
