#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/ptp/ptp_network.h"

namespace norvad::test {

namespace {

constexpr uint64_t delayNs = 520;
constexpr uint64_t periodMs = 1050;  // of peer delay, with the jitter at its longest

class TwoHandlers : public testing::Test {
protected:
    TwoHandlers() {
        network.Add(+100);
        network.Add(-100);
        cable = &network.Connect({0, 0}, {1, 1}, delayNs);
    }

    PtpNetwork network;
    PtpNetwork::Cable* cable = nullptr;
};

TEST_F(TwoHandlers, BecomeAsCapableAndKnowEachOtherAsOfOneMake) {
    network.RunMs(periodMs);
    EXPECT_FALSE(network[0].fake.IsAvbUp(0)) << "asked, but not evaluated yet";
    network.RunMs(periodMs);
    for (const auto& [node, port] : {std::pair{0U, uint8_t{0}}, {1U, uint8_t{1}}}) {
        EXPECT_TRUE(network[node].fake.IsAvbUp(port));
        EXPECT_TRUE(network[node].fake.GetPeerIsSameMake(port));
    }
}

TEST(TwoFreeHandlers, MeasureTheCableAndTheNeighboursRate) {
    // Without a right to be grandmaster nobody steers, so the oscillators stay 200 ppm apart.
    PtpNetwork network;
    network.Add(+100, {250, true});
    network.Add(-100, {250, true});
    network.Connect({0, 0}, {1, 1}, delayNs);

    network.RunMs(100 * periodMs);

    EXPECT_NEAR(network[0].Shown("RR0:"), -200e-6, 1e-7);
    EXPECT_NEAR(network[1].Shown("RR1:"), +200e-6, 1e-7);
    // The granularity of the stamps, and what a filter loses that truncates at every step.
    EXPECT_NEAR(network[0].Shown("PD0:"), delayNs, 8 + 15);
    EXPECT_NEAR(network[1].Shown("PD1:"), delayNs, 8 + 15);
}

TEST_F(TwoHandlers, FourthSilentPeriodTakesAsCapabilityFromThePort) {
    network.RunMs(2 * periodMs + 500);
    ASSERT_TRUE(network[0].fake.IsAvbUp(0));
    size_t requests = 0;
    const auto onCable = network[0].fake.onSend;
    network[0].fake.onSend = [&](uint8_t port, std::span<const uint8_t> frame) {
        if (frame[22] == 0x12) ++requests;
        onCable(port, frame);
    };
    cable->cut = true;

    // Each request comes right after the evaluation of the period before it. The first one evaluates the exchange
    // that was complete before the cut, the next three find silence.
    while (requests < 1 + 3) network.RunMs(1);
    EXPECT_TRUE(network[0].fake.IsAvbUp(0));
    while (requests < 1 + 4) network.RunMs(1);
    EXPECT_FALSE(network[0].fake.IsAvbUp(0));
    EXPECT_TRUE(network[0].fake.IsPortUp(0)) << "the link is up all the while";

    cable->cut = false;
    network.RunMs(2 * periodMs);
    EXPECT_TRUE(network[0].fake.IsAvbUp(0));
}

TEST_F(TwoHandlers, BetterClockOfTwoBecomesGrandmaster) {
    network.RunMs(15'000);
    EXPECT_EQ(network[0].State(), "MASTER");
    EXPECT_EQ(network[1].State(), "SLAVE");
    EXPECT_EQ(network[1].kept.identities.back(), network[0].identity);
    network.RunMs(30'000);
    EXPECT_LT(std::fabs(network.Ahead(1, 0)), 100);
}

TEST_F(TwoHandlers, SurvivorOfALostMasterTakesOverWhenAnotherNeighbourAnswers) {
    network.Add(0);
    network.Connect({1, 0}, {2, 0}, delayNs);
    network.RunMs(30'000);
    ASSERT_EQ(network[1].State(), "SLAVE");
    ASSERT_EQ(network[2].State(), "SLAVE");
    cable->cut = true;
    network.RunMs(60'000);
    EXPECT_EQ(network[1].State(), "MASTER");
    EXPECT_EQ(network[2].State(), "SLAVE");
    EXPECT_EQ(network[2].kept.identities.back(), network[1].identity);
    EXPECT_LT(std::fabs(network.Ahead(2, 1)), 1000);
}

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
            network.Add(errorsPpm[node], settings, 1'000'000'000 + node * 777'777'777);
        }
        for (size_t node = 0; node + 1 < network.Size(); ++node) {
            network.Connect({node, 1}, {node + 1, 0}, 300 + 110 * node);
        }
    }

    PtpNetwork network;
};

TEST_P(Chain, KeepsEveryClockWithinAMicrosecondOfTheGrandmaster) {
    Build(GetParam());
    std::vector<double> largest(network.Size(), 0), square(network.Size(), 0);
    std::vector<uint64_t> settledMs(network.Size(), 0);

    uint64_t samples = 0;
    for (uint64_t ms = 0; ms < settlingMs + measuringMs; ms += 50) {
        network.RunMs(50);
        for (size_t node = 1; node < network.Size(); ++node) {
            const double error = std::fabs(network.Ahead(node, 0));
            if (error >= limitNs) settledMs[node] = ms + 50;
            if (ms < settlingMs) continue;
            largest[node] = std::max(largest[node], error);
            square[node] += error * error;
        }
        samples += ms >= settlingMs;
    }

    std::string table;
    for (size_t node = 1; node < network.Size(); ++node) {
        EXPECT_EQ(network[node].State(), "SLAVE");
        EXPECT_LT(settledMs[node], settlingMs) << node;
        EXPECT_LT(largest[node], limitNs) << node;
        char line[100];
        (void)snprintf(line, sizeof(line), "hop %zu: largest %.0f ns, rms %.0f ns, below 1 us after %.1f s\n", node,
                       largest[node], std::sqrt(square[node] / static_cast<double>(samples)),
                       static_cast<double>(settledMs[node]) / 1000);
        table += line;
    }
    EXPECT_EQ(network[0].State(), "MASTER");
    RecordProperty("hops", table);
    (void)printf("%s", table.c_str());
}

INSTANTIATE_TEST_SUITE_P(Bridges, Chain, testing::Range<size_t>(1, 8));

}  // namespace

}  // namespace norvad::test
