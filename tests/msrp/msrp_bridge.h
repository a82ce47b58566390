#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/log.h"
#include "msrp/msrp_handler.h"
#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"
#include "tests/support/fake_switch.h"
#include "tests/support/operator.h"
#include "tests/support/stepped_time.h"

namespace norvad::test {

// One vector of a message as a neighbour sends it; fourPacked stays empty but for listeners.
Bytes Vector(const Bytes& firstValue, const Bytes& events, const Bytes& declarations = {}, bool leaveAll = false);

// A message of one attribute type around its vectors.
Bytes Message(uint8_t type, uint8_t attributeLength, const std::vector<Bytes>& vectors);

// A tagged frame from a switch port around messages, with protocol version and end mark.
Bytes Frame(uint8_t port, const std::vector<Bytes>& messages);

// Stream number n of a foreign station; the unique id's first byte is the selector that binds local streams.
StreamID Stream(uint8_t n, uint8_t selector = 0);

// A talker of 100-byte frames, one in an interval, in VLAN 2, to the address 91:e0:f0:00:00:n.
TalkerFirstValue TalkerOf(const StreamID& id);

// A whole MSRP bridge on a switch in software, with a clock that the test moves.
class MsrpBridge : public testing::Test, protected SteppedTime {
protected:
    // A port in service, as the switch sees it; MSRP hears nothing of it.
    void Raise(std::initializer_list<uint8_t> ports) {
        for (const uint8_t port : ports) board.Raise(port);
    }

    void Receive(uint8_t port, const std::vector<Bytes>& messages);
    void ReceiveTalker(uint8_t port, const StreamID& id, AttributeEvent event = AttributeEvent::NEW);
    void ReceiveTalkerFailed(uint8_t port, const StreamID& id, AttributeEvent event = AttributeEvent::NEW);
    void ReceiveListener(uint8_t port, const StreamID& id, ListenerDeclaration declaration = ListenerDeclaration::READY,
                         AttributeEvent event = AttributeEvent::NEW);

    // Long enough for a received Leave to end a registration, and short of a LeaveAll.
    void RunLeaveTime() { RunMs(1200); }

    // The values sent out of a port since the last call, such as "talker 0001 New", "listener 0001 JoinMt READY",
    // "domain 6 New"; a LeaveAll without a value is "talker LeaveAll", and one on a value is added to it.
    std::vector<std::string> SentValues(uint8_t port);

    // What the daemon control option answers.
    std::string Control(const std::vector<std::string>& words) { return AnswerOf(msrp, words); }

    bool IsTalkerDeclared(uint8_t port, const StreamID& id);
    bool IsTalkerFailedDeclared(uint8_t port, const StreamID& id);
    bool IsListenerDeclared(uint8_t port, const StreamID& id);

    FakeSwitch board;
    MSRPHandler msrp{board, board, timers};
};

}  // namespace norvad::test
