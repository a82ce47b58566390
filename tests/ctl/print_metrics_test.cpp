#include <gtest/gtest.h>

#include "tests/ctl/exposition_grammar.h"
#include "tests/ctl/fake_bridge.h"

namespace norvad::ctl::test {
namespace {

TEST(PrintMetrics, PrintsWhatPrometheusReads) {
    FakeBridge bridge;
    bridge.ports = FakeBridge::portAsCapable;
    bridge.clock = FakeBridge::Status("MASTER");

    EXPECT_EQ(bridge.Run({"metrics"}), ExitStatus::DONE);

    const Exposition metrics(bridge.output.str());
    EXPECT_EQ(metrics.Samples().at("norvad3_up"), "1");
    EXPECT_EQ(metrics.Samples().at(R"(norvad3_clock_state{state="MASTER"})"), "1");
    EXPECT_FALSE(metrics.Types().contains("norvad3_changes_total"));
    EXPECT_EQ(bridge.errors.str(), "");
}

TEST(PrintMetrics, SaysThatTheDaemonIsDown) {
    FakeBridge bridge;
    bridge.Vanish();

    EXPECT_EQ(bridge.Run({"metrics"}), ExitStatus::DONE);

    EXPECT_EQ(Exposition(bridge.output.str()).Samples().at("norvad3_up"), "0");
    EXPECT_EQ(bridge.errors.str(), "norvadctl: no daemon runs: there is no request queue /norvad.mq\n");
}

TEST(PrintMetrics, SaysNothingOfADaemonThatItMayNotAsk) {
    FakeBridge bridge;
    bridge.door.sendings = {ControlDoor::Sending::DENIED};

    EXPECT_THROW(bridge.Run({"metrics"}), NoAnswer);
    EXPECT_EQ(bridge.output.str(), "");
}

TEST(PrintMetrics, FailsOnLinesThatItDidNotUnderstand) {
    FakeBridge bridge;
    bridge.ports = std::string(FakeBridge::portDown) + "nonsense\n";

    EXPECT_EQ(bridge.Run({"metrics"}), ExitStatus::FAILED);
    EXPECT_EQ(Exposition(bridge.output.str()).Samples().at(R"(norvad3_port_up{port="0"})"), "0");
}

TEST(PrintMetrics, RefusesWhatItDoesNotUse) {
    FakeBridge bridge;
    EXPECT_THROW(bridge.Run({"metrics", "--json"}), UsageError);
    EXPECT_THROW(bridge.Run({"metrics", "--port", "1"}), UsageError);
    EXPECT_THROW(bridge.Run({"metrics", "more"}), UsageError);
}

}  // namespace
}  // namespace norvad::ctl::test
