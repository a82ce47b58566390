#include "lab/network/program/svg_chart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/network/program/page.h"

namespace norvad::test {
namespace {

using namespace network;
using testing::HasSubstr;

// From 0 to 10 and from 0 to 100 the plot is 600 wide and 220 high, with its corner at 70, 254.
TEST(AChart, DrawsEachPieceOfALineWhereItIs) {
    const Chart chart{"A & B", "s", "ns", {{"first", {{{0, 0}, {10, 100}}, {{5, 50}, {5, 0}}}}}};

    const std::string svg = SvgText(chart);

    EXPECT_THAT(svg, HasSubstr("<path d=\"M70.0 254.0L670.0 34.0M370.0 144.0L370.0 254.0\" fill=\"none\""));
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

TEST(APage, HoldsSummaryAndPictures) {
    const std::string page = PageText("a < b", "1 > 0\n", {"<svg/>\n"});

    EXPECT_THAT(page, HasSubstr("<title>a &lt; b</title>"));
    EXPECT_THAT(page, HasSubstr("<p>\n<svg/>\n</p>"));
    EXPECT_THAT(page, HasSubstr("<pre>\n1 &gt; 0\n</pre>"));
}

}  // namespace
}  // namespace norvad::test
