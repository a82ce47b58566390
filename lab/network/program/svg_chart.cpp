#include "lab/network/program/svg_chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include "lab/network/program/units.h"

namespace norvad::network {

namespace {

constexpr double width = 810, height = 300;
constexpr double left = 80, right = 150, top = 34, bottom = 46;  // around the plot
constexpr std::array<const char*, 8> colours{"#1f77b4", "#d62728", "#2ca02c", "#9467bd",
                                             "#ff7f0e", "#17becf", "#8c564b", "#7f7f7f"};

// The values along an axis, and what stands at it.
struct Axis {
    double least = 0, most = 0, step = 1;

    void Include(double value) {
        least = std::min(least, value);
        most = std::max(most, value);
    }

    // Steps of 1, 2 or 5 times a power of ten, six at most, and whole ones where there is room for two.
    void Round() {
        constexpr double steps = 6;
        if (most <= least) most = least + 2;
        double power = 1;
        while (power * 10 <= most - least) power *= 10;
        while (power > most - least) power /= 10;
        for (const double factor : {0.1, 0.2, 0.5, 1.0, 2.0}) {
            step = factor * power;
            if ((most - least) / step <= steps) break;
        }
        if (most - least >= 2) step = std::max(step, 1.0);
        least = std::floor(least / step) * step;
        most = std::ceil(most / step) * step;
    }

    double Share(double value) const { return (value - least) / (most - least); }
};

// The middle four fifths of a line's values, sorted: what has lasted, without a beginning or an instant far away.
std::pair<double, double> MostOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t tenth = (values.size() - 1) / 10;
    return {values[tenth], values[values.size() - 1 - tenth]};
}

class Drawing {
public:
    explicit Drawing(const Chart& chart) : chart(chart) {
        for (const ChartLine& line : chart.lines) Include(line);
        const double height = y.most - y.least;
        const bool leavesOut = chart.leavesFarOut && height > 0 && all.most - all.least > farOut * height;
        y = leavesOut ? Axis{y.least - height / 2, y.most + height / 2} : all;
        x.Round();
        y.Round();
    }

    std::string Text() const {
        std::string text = fmt::format(
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\" "
            "font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n",
            width, height);
        text += Label(width / 2, 18, "middle", chart.title, 14);
        text += Label((left + width - right) / 2, height - 8, "middle", chart.xName);
        text += Label(8, 24, "start", chart.yName);
        return text + Grid() + Clipped(Lines()) + Outside() + Legend() + "</svg>\n";
    }

private:
    // Frames that are so much smaller than all that there is leave the rest out.
    static constexpr double farOut = 4;

    void Include(const ChartLine& line) {
        std::vector<double> values;
        for (const auto& piece : line.pieces) {
            for (const auto& [pointX, pointY] : piece) {
                x.Include(pointX);
                all.Include(pointY);
                values.push_back(pointY);
            }
        }
        if (values.empty()) return;
        const auto [low, high] = MostOf(std::move(values));
        y.Include(low);
        y.Include(high);
    }

    double X(double value) const { return left + x.Share(value) * (width - left - right); }
    // What is far away is not drawn in its place, where the numbers would be too large for some programs.
    double Y(double value) const {
        return height - bottom - std::clamp(y.Share(value), -1.0, 2.0) * (height - top - bottom);
    }

    static std::string Label(double atX, double atY, const char* anchor, const std::string& text, int size = 12) {
        return fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"{}\" font-size=\"{}\">{}</text>\n", atX, atY,
                           anchor, size, XmlText(text));
    }
    static std::string GridLine(double x1, double y1, double x2, double y2) {
        return fmt::format("<path d=\"M{:.1f} {:.1f}L{:.1f} {:.1f}\" stroke=\"#ddd\"/>\n", x1, y1, x2, y2);
    }

    std::string Grid() const {
        std::string text;
        for (int n = 0; n <= std::lround((x.most - x.least) / x.step); ++n) {
            const double value = x.least + n * x.step;
            text += GridLine(X(value), top, X(value), height - bottom);
            text += Label(X(value), height - bottom + 16, "middle", fmt::format("{:.6g}", value));
        }
        for (int n = 0; n <= std::lround((y.most - y.least) / y.step); ++n) {
            const double value = y.least + n * y.step;
            text += GridLine(left, Y(value), width - right, Y(value));
            text += Label(left - 6, Y(value) + 4, "end", YText(value));
        }
        return text;
    }

    std::string YText(double value) const {
        constexpr double second = 1e9;
        if (!chart.isOfTimes) return fmt::format("{:.6g}", value);
        if (std::abs(value) >= second) return fmt::format("{:.4g} s", value / second);  // of any size
        return TimeText(std::llround(value));
    }

    // A picture within the picture shows nothing outside its frame.
    static std::string Clipped(const std::string& lines) {
        constexpr double edge = 1;  // half a line
        return fmt::format(
            "<svg x=\"{0}\" y=\"{1}\" width=\"{2}\" height=\"{3}\" viewBox=\"{0} {1} {2} {3}\">\n{4}</svg>\n",
            left - edge, top - edge, width - left - right + 2 * edge, height - top - bottom + 2 * edge, lines);
    }

    std::string Outside() const {
        size_t points = 0, outside = 0;
        double farthest = 0;
        for (const ChartLine& line : chart.lines) {
            for (const auto& piece : line.pieces) {
                points += piece.size();
                for (const auto& [pointX, pointY] : piece) {
                    if (pointY >= y.least && pointY <= y.most) continue;
                    ++outside;
                    if (std::abs(pointY) > std::abs(farthest)) farthest = pointY;
                }
            }
        }
        if (outside == 0) return {};
        return Label(width - 8, height - 8, "end",
                     fmt::format("{} of {} points outside, up to {}", outside, points, YText(farthest)));
    }

    const char* ColourOf(size_t line) const {
        size_t colour = 0;
        for (size_t n = 1; n <= line; ++n) colour += !(chart.lines[n].isDashed && chart.lines[n].name.empty());
        return colours[colour % colours.size()];
    }

    std::string Lines() const {
        std::string text;
        for (size_t n = 0; n < chart.lines.size(); ++n) {
            std::string path;
            for (const auto& piece : chart.lines[n].pieces) {
                char command = 'M';
                for (const auto& [pointX, pointY] : piece) {
                    path += fmt::format("{}{:.1f} {:.1f}", command, X(pointX), Y(pointY));
                    command = 'L';
                }
            }
            text += fmt::format("<path d=\"{}\" fill=\"none\" stroke=\"{}\"{}/>\n", path, ColourOf(n),
                                chart.lines[n].isDashed ? " stroke-dasharray=\"6 4\"" : "");
        }
        return text;
    }

    std::string Legend() const {
        std::string text;
        double atY = top + 14;
        for (size_t n = 0; n < chart.lines.size(); ++n) {
            if (chart.lines[n].name.empty()) continue;
            text += fmt::format("<g fill=\"{}\">{}</g>\n", ColourOf(n),
                                Label(width - right + 8, atY, "start", chart.lines[n].name));
            atY += 15;
        }
        return text;
    }

    const Chart& chart;
    Axis x, y, all;  // all: y with every point
};

}  // namespace

std::string SvgText(const Chart& chart) {
    return Drawing(chart).Text();
}

std::string XmlText(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '&':
                escaped += "&amp;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += letter;
        }
    }
    return escaped;
}

}  // namespace norvad::network
