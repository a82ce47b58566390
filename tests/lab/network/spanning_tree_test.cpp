#include "lab/network/spanning_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace norvad::test {
namespace {

using network::LinksOfTree;
using testing::ElementsAre;

TEST(ASpanningTree, LeavesOneLinkOfARingAlone) {
    EXPECT_THAT(LinksOfTree(4, {{0, 1, true}, {1, 2, true}, {2, 3, true}, {3, 0, true}}),
                ElementsAre(true, true, false, true));
}

TEST(ASpanningTree, GoesTheOtherWayRoundWhereALinkIsDown) {
    EXPECT_THAT(LinksOfTree(4, {{0, 1, true}, {1, 2, true}, {2, 3, true}, {3, 0, false}}),
                ElementsAre(true, true, true, false));
}

TEST(ASpanningTree, TakesOneOfTwoLinksBetweenTheSameBridges) {
    EXPECT_THAT(LinksOfTree(2, {{0, 1, true}, {1, 0, true}}), ElementsAre(true, false));
}

TEST(ASpanningTree, SpansEachPartOfANetworkThatFellApart) {
    EXPECT_THAT(LinksOfTree(5, {{0, 1, true}, {1, 2, false}, {2, 3, true}, {3, 4, true}, {4, 2, true}}),
                ElementsAre(true, false, true, false, true));
}

}  // namespace
}  // namespace norvad::test
