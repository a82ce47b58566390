#include "lab/network/program/svg_chart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/network/program/page.h"

namespace norvad::test {
namespace {

using namespace network;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// From 0 to 10 and from 0 to 100 the plot is 580 wide and 220 high, with its corner at 80, 254.
TEST(AChart, DrawsEachPieceOfALineWhereItIs) {
    const Chart chart{"A & B", "s", "ns", {{"first", {{{0, 0}, {10, 100}}, {{5, 50}, {5, 0}}}}}};

    const std::string svg = SvgText(chart);

    EXPECT_THAT(svg, HasSubstr("<path d=\"M80.0 254.0L660.0 34.0M370.0 144.0L370.0 254.0\" fill=\"none\""));
    EXPECT_THAT(svg, HasSubstr(">A &amp; B</text>"));
    EXPECT_THAT(svg, HasSubstr(">first</text>"));
    EXPECT_THAT(svg, HasSubstr(">20</text>"));
    EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
}

TEST(AChart, HasAnAxisForNegativeValuesAndForNone) {
    const Chart chart{"", "", "", {{"", {{{1, -350}, {2, 120}}}}, {"", {}, true}}};

    const std::string svg = SvgText(chart);

    EXPECT_THAT(svg, HasSubstr(">-400</text>"));
    EXPECT_THAT(svg, HasSubstr(">200</text>"));
    EXPECT_THAT(svg, HasSubstr("stroke-dasharray"));
    EXPECT_THAT(SvgText({}), HasSubstr("</svg>"));
}

Chart Settling(double farthest) {
    Chart chart{"", "", "", {{"clock", {{{0, 0}}}}}, true, true};
    auto& points = chart.lines[0].pieces[0];
    points.emplace_back(1, farthest);
    for (int n = 2; n < 20; ++n) points.emplace_back(n, n % 2 == 0 ? -20.0 : 20.0);
    return chart;
}

// The frame is as high again as what its points mostly do, and the axis is rounded.
TEST(AChart, LeavesOutWhatIsFarAndTellsOfIt) {
    const std::string svg = SvgText(Settling(2e9));

    EXPECT_THAT(svg, HasSubstr(">40 ns</text>"));
    EXPECT_THAT(svg, HasSubstr(">-40 ns</text>"));
    EXPECT_THAT(svg, HasSubstr(">1 of 20 points outside, up to 2 s</text>"));
    EXPECT_THAT(svg, HasSubstr("M80.0 144.0L109.0 -186.0L138.0 199.0"));  // twice the height, not a million times
}

TEST(AChart, LeavesNothingOutThatIsNotFar) {
    const std::string svg = SvgText(Settling(99));

    EXPECT_THAT(svg, HasSubstr(">100 ns</text>"));
    EXPECT_THAT(svg, Not(HasSubstr("outside")));
}

TEST(AChart, ShowsAllWhereMostPointsAreZero) {
    Chart chart = Settling(5'000);
    for (auto& point : chart.lines[0].pieces[0]) point.second = point.first == 1 ? 5'000 : 0;

    EXPECT_THAT(SvgText(chart), AllOf(HasSubstr(">5 us</text>"), Not(HasSubstr("outside"))));
}

TEST(AChart, HasAnAxisForCenturies) {
    const std::string svg = SvgText({"", "", "", {{"", {{{1, -5.8e18}, {2, 8.9e18}}}}}, true});

    EXPECT_THAT(svg, AllOf(HasSubstr(">1e+10 s</text>"), HasSubstr(">-1e+10 s</text>"), HasSubstr(">0 ns</text>")));
}

TEST(AChart, CountsInWholeSteps) {
    const std::string svg = SvgText({"", "", "", {{"", {{{1, 0}, {2, 0}}}}}, true});

    EXPECT_THAT(svg, AllOf(HasSubstr(">1 ns</text>"), HasSubstr(">2 ns</text>"), HasSubstr(">1</text>")));
    EXPECT_THAT(svg, Not(HasSubstr(">0.5</text>")));
}

TEST(AChart, DrawsWhatBelongsToALineInItsColour) {
    const ChartLine line{"", {{{0, 0}, {1, 1}}}}, limit{"", {{{0, 2}, {1, 2}}}, true};
    const std::string svg = SvgText({"", "", "", {line, limit, line}});

    const auto count = [&](const std::string& colour) {
        size_t found = 0;
        for (size_t at = svg.find(colour); at != std::string::npos; at = svg.find(colour, at + 1)) ++found;
        return found;
    };
    EXPECT_EQ(count("stroke=\"#1f77b4\""), 2u);
    EXPECT_EQ(count("stroke=\"#d62728\""), 1u);
}

TEST(APage, HoldsSummaryAndPictures) {
    const std::string page = PageText("a < b", "1 > 0\n", {"<svg/>\n"});

    EXPECT_THAT(page, HasSubstr("<title>a &lt; b</title>"));
    EXPECT_THAT(page, HasSubstr("<p>\n<svg/>\n</p>"));
    EXPECT_THAT(page, HasSubstr("<pre>\n1 &gt; 0\n</pre>"));
}

}  // namespace
}  // namespace norvad::test
