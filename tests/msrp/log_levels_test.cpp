// From which level on each text is logged.

#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using enum ListenerDeclaration;

constexpr auto LV = AttributeEvent::LV;
constexpr auto JoinIn = AttributeEvent::JOIN;
constexpr auto New = static_cast<uint8_t>(AttributeEvent::NEW);

constexpr struct {
    int32_t level;
    const char* text;
} texts[] = {
    // Ports.
    {1, "[SW-MSRP] port 0 up\n"},
    {1, "[SW-MSRP] port 3 down\n"},
    {1, "[SW-MSRP] port 2 AVB up\n"},
    {1, "[SW-MSRP] port 2 AVB down\n"},
    {1, "[SW-MSRP] port 2 STP up\n"},
    {1, "[SW-MSRP] port 2 STP down\n"},

    // Frames in.
    {0, "[SW-MSRP] unsupported attribute type 5\n"},
    {0, "[SW-MSRP] TALKER_ADVERTISE illegal attribute_length 9\n"},
    {0, "[SW-MSRP] TALKER_FAILED illegal attribute_length 9\n"},
    {0, "[SW-MSRP] LISTENER_VECTOR illegal attribute_length 9\n"},
    {0, "[SW-MSRP] DOMAIN illegal attribute_length 9\n"},
    {1, "[SW-MSRP] TALKER_ADVERTISE on port 0\n"},
    {1, "[SW-MSRP] TALKER_FAILED on port 0\n"},
    {1, "[SW-MSRP] LISTENER_VECTOR on port 2\n"},
    {1, "[SW-MSRP] DOMAIN on port 0\n"},
    {2, "[SW-MSRP] TALKER_ADVERTISE leave all on port 3\n"},
    {2, "[SW-MSRP] TALKER_FAILED leave all on port 3\n"},
    {2, "[SW-MSRP] LISTENER_VECTOR leave all on port 3 \n"},
    {2, "[SW-MSRP] DOMAIN leave all on port 3\n"},
    {2, "[SW-MSRP] TALKER_ADVERTISE getting attr events 0\n"},
    {2, "[SW-MSRP] TALKER_FAILED getting attr events 0\n"},
    {2, "[SW-MSRP] LISTENER_VECTOR getting attr events 0\n"},
    {2, "[SW-MSRP] DOMAIN getting attr events 0\n"},
    {2, "[SW-MSRP] Talker for local stream 02005e102030:0009 on external port 0\n"},
    {2, "[SW-MSRP] Talker failed for local stream on external port\n"},
    {2, "[SW-MSRP] Listener for local stream on local port\n"},

    // Records.
    {1, "[SW-MSRP] Port(0) Add:\n     [MSRP] Talker: "},
    {1, "[SW-MSRP] Port(0) Add:\n     [MSRP] TalkerFailed: "},
    {1, "[SW-MSRP] Port(0) Add:\n     [MSRP] Domain:"},
    {2, "[SW-MSRP] Port(2) Add:\n     [MSRP] Listener:"},
    {2, "[SW-MSRP] Port(2) Listener decl type changed to ASKING_FAILED\n"},
    {1, "[SW-MSRP] Port(0) Remove Talker failed for talker\n"},
    {1, "[SW-MSRP] Port(3) Remove: [MSRP] Listener:"},

    // From port to port.
    {1, "[SW-MSRP] Port(2) Propagate from (0):\n     [MSRP] Talker: "},
    {1, "[SW-MSRP] Port(2) Propagate from (1):\n     [MSRP] Talker: "},
    {1, "[SW-MSRP] Port(2) Propagate LV from (0):\n     [MSRP] Talker: "},
    {1, "[SW-MSRP] Port(2) Propagate from (0):\n     [MSRP] TalkerFailed: "},
    {1, "[SW-MSRP] Port(2) Remove Propagated Talker failed for talker\n"},
    {2, "[SW-MSRP] Port(0) Propagate from (2):\n     [MSRP] Listener:"},
    {2, "[SW-MSRP] Port(0) Propagate from (3):\n     [MSRP] Listener:"},
    {2, "[SW-MSRP] Port(0) Propagate LV from (3):\n     [MSRP] Listener:"},
    {2, "[SW-MSRP] Port(0) Propagated Listener from (2): decl type changed to ASKING_FAILED\n"},
    {1, "Proxy Leave to [MSRP] Listener:"},
    {3, "!!!![SW-MSRP] throw away listener [MSRP] Listener:"},

    // Frames out.
    {1, "[SW-MSRP] TalkerProcessor added "},
    {1, "[SW-MSRP] TalkerFailedProcessor added "},
    {1, "[SW-MSRP] ListenerProcessor added "},
    {1, "[SW-MSRP] DomainProcessor added "},
    {2, "[SW-MSRP] talker event for port "},
    {2, "[SW-MSRP] talker failed event for port "},
    {2, "[SW-MSRP] domain event for port "},
};

class MsrpLogLevels : public MsrpBridge, public ::testing::WithParamInterface<int32_t> {
protected:
    MsrpLogLevels() { Raise({0, 1, 2, 3, 6}); }

    // Makes every text; only MSRP's own lines are logged.
    std::string LoggedAt(int32_t level) {
        CapturedLog watch(-1);
        debugLevels[static_cast<size_t>(LogCategory::MSRP)] = level;
        PassPortEvents();
        ReceiveWhatIsRefused();
        PassStreams();
        return watch.Text();
    }

private:
    void PassPortEvents() {
        msrp.PortUp(0);
        msrp.PortAvbUp(2);
        msrp.PortAvbDown(2);
        msrp.PortStpUp(2);
        msrp.PortStpDown(2);
        msrp.PortDown(3);
    }

    void ReceiveWhatIsRefused() {
        for (uint8_t type = 1; type <= 4; ++type) Receive(0, {Message(type, 9, {})});
        Receive(0, {Message(5, 1, {})});

        StreamID own = Stream(9);
        std::copy(FakeSwitch::ownAddress.begin(), FakeSwitch::ownAddress.end(), own.begin());
        ReceiveTalker(0, own);
        ReceiveTalkerFailed(0, own);
        ReceiveListener(6, own);

        const StreamID boundToPort0 = Stream(8, 0x3F);
        ReceiveTalker(1, boundToPort0);
        ReceiveListener(6, boundToPort0);
    }

    // A talker on two ports with a listener on two others, then a failed talker that turns good.
    void PassStreams() {
        Receive(0, {Message(4, 4, {Vector({6, 3, 0, 3}, {New})})});
        ReceiveTalker(0, Stream(1));
        ReceiveTalker(1, Stream(1));
        ReceiveListener(2, Stream(1), READY);
        ReceiveListener(3, Stream(1), READY);
        ReceiveListener(2, Stream(1), ASKING_FAILED, JoinIn);
        ReceiveListener(3, Stream(1), READY, LV);
        RunLeaveTime();
        ReceiveTalker(0, Stream(1), LV);
        RunLeaveTime();

        ReceiveTalkerFailed(0, Stream(2));
        RunMs(1);
        ReceiveTalker(0, Stream(2));

        const auto leaveAll = [](uint8_t length) { return Vector(Bytes(length), {}, {}, true); };
        Receive(3, {Message(1, 25, {leaveAll(25)}), Message(2, 34, {leaveAll(34)}), Message(3, 8, {leaveAll(8)}),
                    Message(4, 4, {leaveAll(4)})});
        RunLeaveTime();
    }
};

TEST_P(MsrpLogLevels, EveryTextAppearsFromItsOwnLevelOn) {
    const int32_t level = GetParam();
    const std::string logged = LoggedAt(level);

    for (const auto& expected : texts) {
        EXPECT_EQ(logged.find(expected.text) != std::string::npos, level >= expected.level) << expected.text;
    }
}

INSTANTIATE_TEST_SUITE_P(BelowAndAboveEach, MsrpLogLevels, ::testing::Range(-1, 4));

}  // namespace
}  // namespace norvad::test
