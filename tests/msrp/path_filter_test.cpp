// Which ports a stream may connect, tried for every selector, pair of ports and state.

#include "msrp/path_filter.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <tuple>

namespace norvad::test {
namespace {

// selector of the unique id, where the listener is, where the talker is, what decides.
//   open           always open
//   talker=n       open when the talker's port is n, bound elsewhere otherwise
//   listener=n     open when the listener's port is n, bound elsewhere otherwise
//   avb-make       the listener's port is AVB up and the talker's neighbour of the same make, or a leave
//   make-avb       the listener's neighbour is of the same make and the talker's port AVB up, or a leave
//   stp            both ports are up in the spanning tree
constexpr auto pathGrid = R"(
    1F     host      host      avb-make
    1F     host      local     avb-make
    1F     host      external  open
    1F     local     host      avb-make
    1F     local     local     avb-make
    1F     local     external  avb-make
    1F     external  host      listener=0
    1F     external  local     avb-make
    1F     external  external  avb-make
    2F     host      host      avb-make
    2F     host      local     avb-make
    2F     host      external  open
    2F     local     host      avb-make
    2F     local     local     avb-make
    2F     local     external  avb-make
    2F     external  host      listener=1
    2F     external  local     avb-make
    2F     external  external  avb-make
    3F     host      host      make-avb
    3F     host      local     make-avb
    3F     host      external  talker=0
    3F     local     host      make-avb
    3F     local     local     make-avb
    3F     local     external  make-avb
    3F     external  host      open
    3F     external  local     make-avb
    3F     external  external  make-avb
    7F     host      host      make-avb
    7F     host      local     make-avb
    7F     host      external  talker=1
    7F     local     host      make-avb
    7F     local     local     make-avb
    7F     local     external  make-avb
    7F     external  host      open
    7F     external  local     make-avb
    7F     external  external  make-avb
    other  host      host      stp
    other  host      local     stp
    other  host      external  stp
    other  local     host      stp
    other  local     local     stp
    other  local     external  stp
    other  external  host      stp
    other  external  local     stp
    other  external  external  stp
)";

using Row = std::tuple<std::string, std::string, std::string>;

std::map<Row, std::string> ReadGrid() {
    std::map<Row, std::string> grid;
    std::istringstream lines(pathGrid);
    std::string selector, listener, talker, rule;
    while (lines >> selector >> listener >> talker >> rule) grid[{selector, listener, talker}] = rule;
    return grid;
}

std::string SelectorName(uint8_t selector) {
    if (selector == 0x1F) return "1F";
    if (selector == 0x2F) return "2F";
    if (selector == 0x3F) return "3F";
    if (selector == 0x7F) return "7F";
    return "other";
}

std::string PlaceName(uint8_t port) {
    if (port == 6) return "host";
    return port == 5 ? "local" : "external";
}

Path Expected(const std::string& rule, const PathEnd& listener, const PathEnd& talker, Event event) {
    const auto openIf = [](bool condition) { return condition ? Path::Open : Path::Closed; };
    const auto boundTo = [](bool condition) { return condition ? Path::Open : Path::BoundElsewhere; };
    if (rule == "open") return Path::Open;
    if (rule.starts_with("talker=")) return boundTo(talker.port == rule.back() - '0');
    if (rule.starts_with("listener=")) return boundTo(listener.port == rule.back() - '0');
    if (rule == "stp") return openIf(listener.stpUp && talker.stpUp);
    if (event == Event::LV) return Path::Open;
    if (rule == "avb-make") return openIf(listener.avbUp && talker.peerIsSameMake);
    EXPECT_EQ(rule, "make-avb");
    return openIf(listener.peerIsSameMake && talker.avbUp);
}

PathEnd End(uint8_t port, unsigned states) {
    return {port, (states & 1) != 0, (states & 2) != 0, (states & 4) != 0};
}

TEST(ListenerPath, FollowsTheGridForEverySelectorPairOfPortsStateAndEvent) {
    const auto grid = ReadGrid();
    ASSERT_EQ(grid.size(), 45u);
    size_t cases = 0, wrong = 0;
    for (int selector = 0; selector < 256; ++selector) {
        const StreamID id = {0, 1, 2, 3, 4, 5, static_cast<uint8_t>(selector), 7};
        for (uint8_t q = 0; q < 7; ++q) {
            for (uint8_t t = 0; t < 7; ++t) {
                const Row row = {SelectorName(static_cast<uint8_t>(selector)), PlaceName(q), PlaceName(t)};
                const std::string& rule = grid.at(row);
                for (unsigned states = 0; states < 64; ++states) {
                    const PathEnd listener = End(q, states & 7), talker = End(t, states >> 3);
                    for (const Event event : {Event::NEW, Event::JOIN, Event::LV}) {
                        ++cases;
                        const Path expected = Expected(rule, listener, talker, event);
                        if (ListenerPath(id, listener, talker, event) != expected) ++wrong;
                    }
                }
            }
        }
    }
    EXPECT_EQ(cases, 256u * 49 * 64 * 3);
    EXPECT_EQ(wrong, 0u);
}

// selector, from, to, and whether the talker may cross; selectors and places that are not listed may.
constexpr auto talkerGrid = R"(
    3F 1 5 no    3F 1 6 no
    3F 2 5 no    3F 2 6 no
    3F 3 5 no    3F 3 6 no
    3F 4 5 no    3F 4 6 no
    7F 0 5 no    7F 0 6 no
    7F 2 5 no    7F 2 6 no
    7F 3 5 no    7F 3 6 no
    7F 4 5 no    7F 4 6 no
    1F 5 1 no    1F 6 1 no
    1F 5 2 no    1F 6 2 no
    1F 5 3 no    1F 6 3 no
    1F 5 4 no    1F 6 4 no
    2F 5 0 no    2F 6 0 no
    2F 5 2 no    2F 6 2 no
    2F 5 3 no    2F 6 3 no
    2F 5 4 no    2F 6 4 no
)";

TEST(TalkerMayCross, OnlyALocalStreamBoundToTheOtherExternalPortIsHeldBack) {
    std::map<std::tuple<int, int, int>, bool> heldBack;
    std::istringstream cells(talkerGrid);
    std::string selector, no;
    int from = 0, to = 0;
    while (cells >> selector >> from >> to >> no) heldBack[{std::stoi(selector, nullptr, 16), from, to}] = true;
    ASSERT_EQ(heldBack.size(), 32u);

    for (int u = 0; u < 256; ++u) {
        const StreamID id = {0, 1, 2, 3, 4, 5, static_cast<uint8_t>(u), 7};
        for (uint8_t s = 0; s < 7; ++s) {
            for (uint8_t p = 0; p < 7; ++p) {
                EXPECT_EQ(TalkerMayCross(id, s, p), !heldBack.contains({u, s, p}))
                    << "selector " << u << " from " << int{s} << " to " << int{p};
            }
        }
    }
}

}  // namespace
}  // namespace norvad::test
