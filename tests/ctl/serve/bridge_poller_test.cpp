#include "ctl/serve/bridge_poller.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/ctl/serve/small_bridge.h"
#include "tests/support/stepped_clock.h"

namespace norvad::ctl::test {
namespace {

using testing::ElementsAre;

class Poller : public testing::Test {
protected:
    std::vector<std::string_view> ChangesAtNextPoll() {
        std::vector<std::string_view> names;
        for (const Change& change : poller.Poll()->changes) names.push_back(Name(change.kind));
        return names;
    }

    norvad::test::SteppedClock clock;
    SmallBridge bridge;
    BridgePoller poller{bridge.client, clock};
};

TEST_F(Poller, ReadsTheWholeBridge) {
    const SharedState state = poller.Poll();

    EXPECT_TRUE(state->IsAnswered());
    EXPECT_EQ(state->daemon, "answers");
    EXPECT_EQ(state->time.tv_sec, 1000);
    EXPECT_EQ(state->snapshot.ports.size(), 3U);
    EXPECT_EQ(state->snapshot.streams.size(), 2U);
    EXPECT_EQ(state->snapshot.vlans.size(), 1U);
    EXPECT_EQ(state->snapshot.domains.size(), 1U);
    EXPECT_EQ(state->snapshot.clock->state, "SLAVE");
    EXPECT_THAT(state->changes, ElementsAre());
}

TEST_F(Poller, TellsAndCountsWhatChanged) {
    poller.Poll();
    bridge.vlans += "[MVRP] Vlan:3 Applicant VO Registrar IN\n";

    const SharedState state = poller.Poll();

    ASSERT_EQ(state->changes.size(), 1U);
    EXPECT_EQ(state->changes[0].text, "VLAN 3: registered at port 1");
    EXPECT_EQ(state->counters.Seen(ChangeKind::VLAN_CAME), 1U);
    EXPECT_EQ(poller.Poll()->counters.Seen(ChangeKind::VLAN_CAME), 1U);
}

TEST_F(Poller, HasAnotherRevisionWhenMoreThanTheClockDiffers) {
    const uint64_t first = poller.Poll()->revision;
    bridge.clock = "";
    EXPECT_EQ(poller.Poll()->revision, first);

    // No change that is told, but the tables show the states of the machines.
    bridge.domains = "Port 0\n[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar IN\n";
    EXPECT_EQ(poller.Poll()->revision, first + 1);
    bridge.Vanish();
    EXPECT_EQ(poller.Poll()->revision, first + 2);
    EXPECT_EQ(poller.Poll()->revision, first + 2);
}

TEST_F(Poller, TellsThatTheDaemonWentAndWhatIsOtherWhenItIsBack) {
    poller.Poll();
    bridge.Vanish();
    const SharedState gone = poller.Poll();
    EXPECT_FALSE(gone->IsAnswered());
    EXPECT_EQ(gone->daemon, "absent");
    EXPECT_EQ(gone->problem, "no daemon runs: there is no request queue /norvad.mq");
    ASSERT_EQ(gone->changes.size(), 1U);
    EXPECT_EQ(gone->changes[0].text, "the daemon is gone (" + gone->problem + ")");
    EXPECT_THAT(ChangesAtNextPoll(), ElementsAre());

    bridge.Appear();
    bridge.vlans = "";
    EXPECT_THAT(ChangesAtNextPoll(), ElementsAre("daemon-back", "vlan-gone"));
}

TEST_F(Poller, KnowsWhyTheDaemonDoesNotAnswer) {
    const std::pair<ControlDoor::Sending, const char*> cases[] = {{ControlDoor::Sending::ABSENT, "absent"},
                                                                  {ControlDoor::Sending::DENIED, "denied"},
                                                                  {ControlDoor::Sending::FULL, "busy"}};
    for (const auto& [sending, word] : cases) {
        bridge.door.sendings = {sending};
        EXPECT_EQ(poller.Poll()->daemon, word);
    }
    bridge.Appear();
    bridge.door.daemon = [](const std::string&) { return std::vector<FakeControlDoor::Piece>{}; };
    EXPECT_EQ(poller.Poll()->daemon, "silent");
    bridge.door.daemon = [](const std::string&) { return std::vector<FakeControlDoor::Piece>{{"half"}}; };
    EXPECT_EQ(poller.Poll()->daemon, "cut-off");
}

}  // namespace
}  // namespace norvad::ctl::test
