#include "lab/network/program/topology.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/network/program/scenario_reader.h"

namespace norvad::test {
namespace {

using namespace network;
using testing::HasSubstr;
using testing::Not;

// Three columns from 50 to 710; b2 and the station stand above one another in the second.
TEST(ATopology, ShowsWhatIsHowFarFromTheFirstBridge) {
    const std::string svg =
        TopologySvg(ReadScenario("file", "{title: t, bridges: [{row: 3}], stations: [{name: hall, at: b1}]}"));

    EXPECT_THAT(svg, HasSubstr("<circle cx=\"50.0\" cy=\"150.0\""));
    EXPECT_THAT(svg, HasSubstr("<circle cx=\"380.0\" cy=\"100.0\""));
    EXPECT_THAT(svg, HasSubstr("<rect x=\"375.0\" y=\"195.0\""));
    EXPECT_THAT(svg, HasSubstr("<circle cx=\"710.0\" cy=\"150.0\""));
    EXPECT_THAT(svg, HasSubstr("<path d=\"M50.0 150.0L380.0 100.0\""));
    EXPECT_THAT(svg, HasSubstr(">hall</text>"));
}

TEST(ATopology, NamesNobodyInACrowd) {
    const std::string svg = TopologySvg(ReadScenario("file", "{title: t, bridges: [{row: 41}]}"));

    EXPECT_THAT(svg, Not(HasSubstr("<text")));
}

TEST(ATopology, ShowsBridgesThatNothingLeadsTo) {
    const std::string svg = TopologySvg(ReadScenario("file", "{title: t, bridges: [{name: a}, {name: b}]}"));

    EXPECT_THAT(svg, HasSubstr(">a</text>"));
    EXPECT_THAT(svg, HasSubstr(">b</text>"));
}

}  // namespace
}  // namespace norvad::test
