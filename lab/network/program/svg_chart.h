#pragma once

#include <string>
#include <utility>
#include <vector>

namespace norvad::network {

struct ChartLine {
    // Empty: it is not in the legend, and if it is dashed it has the colour of the line before, to which it belongs.
    std::string name;
    std::vector<std::vector<std::pair<double, double>>> pieces;  // x and y; there is a gap between two pieces
    bool isDashed = false;
};

struct Chart {
    std::string title;
    std::string xName, yName;
    std::vector<ChartLine> lines;
    bool isOfTimes = false;     // y is in nanoseconds; the axis shows the unit
    bool leavesFarOut = false;  // y reaches as far as most points of each line do, and the picture tells of the others
};

// The chart as an SVG picture: the same text for the same chart, on every machine.
std::string SvgText(const Chart& chart);

// The text with what means something in XML escaped.
std::string XmlText(const std::string& text);

}  // namespace norvad::network
