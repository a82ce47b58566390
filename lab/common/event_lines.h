#pragma once

#include <string>

namespace norvad::lab {

// What a program tells on standard output, one line an event: "HH:MM:SS.mmm name: text", in local time. Others may
// write to the same place; whole lines keep them apart.
class EventLines {
public:
    explicit EventLines(std::string name);

    void Print(const std::string& text) const;

private:
    std::string name;
};

}  // namespace norvad::lab
