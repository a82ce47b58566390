#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/bridge/clock_row.h"

namespace norvad::test {

namespace {

// Grandmaster, bridges, end: how far each clock is from the grandmaster's, and how long it takes to get there.
class Chain : public testing::TestWithParam<size_t> {
protected:
    static constexpr double limitNs = 1000;  // over seven hops, IEEE 802.1AS, annex B
    static constexpr uint64_t settlingMs = 60'000;
    static constexpr uint64_t measuringMs = 120'000;

    void Build(size_t bridges) {
        static constexpr double errorsPpm[] = {+100, -100, +37, -64, +100, -100, +12, +93, -81};
        for (size_t node = 0; node < bridges + 2; ++node) {
            PtpSettings settings;
            if (node == 0) settings.ptpPriority1 = 1;
            row.Add(errorsPpm[node], settings, 1'000'000'000 + node * 777'777'777);
        }
        for (size_t node = 0; node + 1 < row.Size(); ++node) {
            row.world.Connect(row[node], 1, row[node + 1], 0, 300 + 110 * node);
        }
    }

    ClockRow row;
};

TEST_P(Chain, KeepsEveryClockWithinAMicrosecondOfTheGrandmaster) {
    Build(GetParam());
    std::vector<double> largest(row.Size(), 0), square(row.Size(), 0);
    std::vector<uint64_t> settledMs(row.Size(), 0);

    uint64_t samples = 0;
    for (uint64_t ms = 0; ms < settlingMs + measuringMs; ms += 50) {
        row.world.RunMs(50);
        for (size_t node = 1; node < row.Size(); ++node) {
            const auto error = static_cast<double>(std::llabs(row[node].AheadNs(row[0])));
            if (error >= limitNs) settledMs[node] = ms + 50;
            if (ms < settlingMs) continue;
            largest[node] = std::max(largest[node], error);
            square[node] += error * error;
        }
        samples += ms >= settlingMs;
    }

    std::string table;
    for (size_t node = 1; node < row.Size(); ++node) {
        EXPECT_EQ(row.State(node), "SLAVE");
        EXPECT_LT(settledMs[node], settlingMs) << node;
        EXPECT_LT(largest[node], limitNs) << node;
        char line[100];
        (void)snprintf(line, sizeof(line), "hop %zu: largest %.0f ns, rms %.0f ns, below 1 us after %.1f s\n", node,
                       largest[node], std::sqrt(square[node] / static_cast<double>(samples)),
                       static_cast<double>(settledMs[node]) / 1000);
        table += line;
    }
    EXPECT_EQ(row.State(0), "MASTER");
    RecordProperty("hops", table);
    (void)printf("%s", table.c_str());
}

INSTANTIATE_TEST_SUITE_P(Bridges, Chain, testing::Range<size_t>(1, 8));

}  // namespace

}  // namespace norvad::test
