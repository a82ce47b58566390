#include "switch/frame_dispatcher.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/program_options.hpp>
#include <memory>
#include <sstream>

#include "switch/i2_switch.h"
#include "switch/lldp_handler.h"
#include "switch/socket_exception.h"
#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"
#include "tests/support/fake_frame_socket.h"
#include "tests/support/recording_handler.h"

namespace norvad {
namespace {

using test::Bytes;
using test::FakeFrameSocket;
using test::FromHex;
using test::Logged;
using test::Part;
using test::RecordingHandler;
using Events = std::vector<std::string>;

class Owner final : public I2Switch {
public:
    MacAddress address{};
    void FrameSocketEvent() override {}
    const uint8_t* GetMacAddress() const override { return address.data(); }
};

// A frame from port 1 with the EtherType's two bytes given as text and some payload.
Bytes Frame(const std::string& etherType) {
    return FromHex("01 80 c2 00 00 0e 02 00 00 00 00 01 da da 00 00 00 08 00 00 " + etherType + " 01 02 03");
}

class FrameDispatcherTest : public testing::Test {
protected:
    boost::shared_ptr<RecordingHandler> Add(uint16_t etherType, const char* name) {
        auto handler = boost::make_shared<RecordingHandler>(etherType, name, events);
        dispatcher.AddHandler(handler);
        return handler;
    }
    void Receive(Bytes frame) {
        socket.Queue(std::move(frame));
        dispatcher.ReadFrame();
    }

    Events events;
    Owner owner;
    std::unique_ptr<FakeFrameSocket> door = std::make_unique<FakeFrameSocket>();
    FakeFrameSocket& socket = *door;
    FrameDispatcher dispatcher{std::move(door), owner};
};

TEST_F(FrameDispatcherTest, FrameReachesTheHandlerOfItsEtherTypeWhole) {
    const auto msrp = Add(ETHERTYPE_MSRP, "MSRP");
    const auto mvrp = Add(ETHERTYPE_MVRP, "MVRP");

    Receive(Frame("88 f5"));
    EXPECT_EQ(events, Events{"MVRP frame"});
    ASSERT_EQ(mvrp->frames.size(), 1U);
    EXPECT_EQ(mvrp->frames[0], Frame("88 f5"));

    Receive(Frame("22 ea"));
    EXPECT_EQ(events.back(), "MSRP frame");
    EXPECT_EQ(msrp->frames.size(), 1U);
}

TEST_F(FrameDispatcherTest, UnknownEtherTypeIsDroppedSilently) {
    Add(ETHERTYPE_MSRP, "MSRP");

    EXPECT_EQ(Logged(9, [this] { Receive(Frame("08 00")); }), "");

    EXPECT_TRUE(events.empty());
}

TEST_F(FrameDispatcherTest, FrameThatEndsBeforeItsEtherTypeReachesNobody) {
    Add(ETHERTYPE_MSRP, "MSRP");
    Add(0, "zero");
    Receive(Frame("22 ea"));  // leaves an EtherType in the receive buffer
    ASSERT_EQ(events.size(), 1U);
    const Bytes whole = Frame("22 ea");

    for (size_t length = 1; length < taggedHeaderSize; ++length) {
        Receive(Part(whole, 0, length));
        EXPECT_EQ(events.size(), 1U) << length;
    }
    Receive(Part(whole, 0, taggedHeaderSize));
    EXPECT_EQ(events.size(), 2U);
}

TEST_F(FrameDispatcherTest, FrameIsCutAtTheReceiveBuffer) {
    const auto msrp = Add(ETHERTYPE_MSRP, "MSRP");
    Bytes frame = Frame("22 ea");
    frame.resize(receiveBufferSize + 1);

    Receive(frame);

    EXPECT_EQ(msrp->frames.at(0).size(), 2048U);
}

TEST_F(FrameDispatcherTest, LldpFrameReachesItsHandlerAndLeavesOnlyALogLine) {
    dispatcher.AddHandler(boost::make_shared<LLDPHandler>());

    EXPECT_EQ(Logged(2, [this] { Receive(Frame("88 cc")); }), " [SW-LLDP] Handle \n");
    EXPECT_EQ(Logged(1, [this] { Receive(Frame("88 cc")); }), "");
    EXPECT_TRUE(socket.sent.empty());
}

TEST_F(FrameDispatcherTest, SecondHandlerOfAnEtherTypeIsDropped) {
    const auto first = Add(ETHERTYPE_MSRP, "first");

    const std::string lines = Logged(0, [this] { Add(ETHERTYPE_MSRP, "second"); });

    EXPECT_EQ(lines, " Handler exist for 0x22ea\n");
    EXPECT_EQ(events, Events{"second destroyed"});
    Receive(Frame("22 ea"));
    EXPECT_EQ(first->frames.size(), 1U);
}

TEST_F(FrameDispatcherTest, AddingIsLoggedAtLevelThree) {
    EXPECT_EQ(Logged(2, [this] { Add(ETHERTYPE_MSRP, "MSRP"); }), "");
    EXPECT_EQ(Logged(3, [this] { Add(ETHERTYPE_PTP2, "PTP"); }), " Handler added for 0x88f7\n");
}

TEST_F(FrameDispatcherTest, HandlerIsIntroducedToTheSwitchAndItsGroupIsJoined) {
    const MacAddress group{0x01, 0x80, 0xC2, 0, 0, 0x0E};
    const auto plain = Add(ETHERTYPE_MSRP, "plain");
    EXPECT_TRUE(socket.joined.empty());
    EXPECT_EQ(plain->owner, &owner);

    const auto handler = boost::make_shared<RecordingHandler>(ETHERTYPE_PTP2, "PTP", events);
    handler->group = &group;
    dispatcher.AddHandler(handler);

    EXPECT_EQ(socket.joined, std::vector<MacAddress>{group});
    EXPECT_EQ(handler->owner, &owner);
}

TEST_F(FrameDispatcherTest, BroadcastsReachEveryHandlerInOrderOfEtherType) {
    Add(ETHERTYPE_PTP2, "PTP")->act = [](std::ostream& answer) { answer << "PTP "; };
    Add(ETHERTYPE_MVRP, "MVRP")->act = [](std::ostream& answer) { answer << "MVRP "; };
    Add(ETHERTYPE_MSRP, "MSRP")->act = [](std::ostream& answer) { answer << "MSRP "; };

    dispatcher.PortUp(1);
    EXPECT_EQ(events, (Events{"MSRP up 1", "MVRP up 1", "PTP up 1"}));

    events.clear();
    boost::program_options::options_description options;
    boost::program_options::variables_map values;
    std::ostringstream answer;
    dispatcher.PortDown(2);
    dispatcher.PortStpUp(3);
    dispatcher.PortStpDown(4);
    dispatcher.PortAvbUp(5);
    dispatcher.PortAvbDown(6);
    dispatcher.AddControlOptions(options);
    dispatcher.HandleControlOptions(values, answer);
    dispatcher.HandleDaemonControlMessage();
    dispatcher.Notify(70'000);
    Events ofMsrp;
    for (size_t i = 0; i < events.size(); i += 3) ofMsrp.push_back(events[i]);
    EXPECT_EQ(events.size(), 27U);
    EXPECT_EQ(ofMsrp, (Events{"MSRP down 2", "MSRP STP up 3", "MSRP STP down 4", "MSRP AVB up 5", "MSRP AVB down 6",
                              "MSRP options", "MSRP values", "MSRP message", "MSRP notify 70000"}));
    EXPECT_EQ(answer.str(), "MSRP MVRP PTP ");
}

TEST_F(FrameDispatcherTest, DefaultsOfAHandlerDoNothing) {
    dispatcher.AddHandler(boost::make_shared<LLDPHandler>());
    std::ostringstream answer;

    const std::string lines = Logged(9, [&] {
        dispatcher.Start();
        dispatcher.PortUp(0);
        dispatcher.PortDown(0);
        dispatcher.HandleControlOptions({}, answer);
        dispatcher.HandleDaemonControlMessage();
        dispatcher.Notify(1);
    });

    EXPECT_EQ(lines, "");
    EXPECT_EQ(answer.str(), "");
    EXPECT_TRUE(socket.joined.empty());
}

TEST_F(FrameDispatcherTest, FailedReadIsPassedOn) {
    EXPECT_THROW(dispatcher.ReadFrame(), SocketException);
}

TEST_F(FrameDispatcherTest, SendPassesTheFrameAndTheResultThrough) {
    const Bytes frame = Frame("22 ea");

    EXPECT_EQ(dispatcher.Send(frame.data(), frame.size()), 25);
    EXPECT_EQ(socket.sent, std::vector<Bytes>{frame});
    socket.failWrites = 1;
    EXPECT_EQ(dispatcher.Send(frame.data(), frame.size()), -1);
}

TEST_F(FrameDispatcherTest, PendingErrorIsLoggedOnceAndTaken) {
    socket.pendingError = ENETDOWN;

    EXPECT_EQ(Logged(0, [this] { EXPECT_EQ(dispatcher.TakeError(), ENETDOWN); }),
              "RawSocket    :socket error: Network is down\n");
    EXPECT_EQ(Logged(0, [this] { EXPECT_EQ(dispatcher.TakeError(), 0); }), "");
}

TEST(DescribeTag, NamesTagPortTypeAndProtocol) {
    Bytes frame = Frame("88 f7");
    frame[17] = 0x50;
    EXPECT_EQ(FrameDispatcher::DescribeTag(frame), " tag=DADA port=A type=TO_CPU proto=ETHERTYPE_PTP2 TAG=0050");

    frame = Frame("22 ea");
    frame[12] = 0x0A;
    frame[16] = 0x40;
    frame[17] = 0xF8;
    EXPECT_EQ(FrameDispatcher::DescribeTag(frame), " tag=0ADA port=1F type=FROM_CPU proto=ETHERTYPE_MSRP TAG=40F8");

    frame = Frame("88 f5");
    frame[16] = 0x80;
    EXPECT_EQ(FrameDispatcher::DescribeTag(frame), " tag=DADA port=1 type=TO_SNIFFER proto=ETHERTYPE_MVRP TAG=8008");

    frame = Frame("88 cc");
    frame[16] = 0xFF;
    EXPECT_EQ(FrameDispatcher::DescribeTag(frame), " tag=DADA port=1 type=FORWARD proto=ETHERTYPE_LLDP TAG=FF08");

    EXPECT_EQ(FrameDispatcher::DescribeTag(Frame("08 0a")),
              " tag=DADA port=1 type=TO_CPU proto=UNKNOWN 0x080A TAG=0008");
}

TEST(DescribeTag, HasNothingToSayOfAFrameWithoutAWholeHeader) {
    const Bytes frame = Frame("22 ea");

    for (size_t length = 0; length < taggedHeaderSize; ++length) {
        EXPECT_EQ(FrameDispatcher::DescribeTag(std::span(frame).first(length)), "") << length;
    }
}

}  // namespace
}  // namespace norvad
