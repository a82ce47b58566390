#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/wire.h"
#include "lab/network/kept_grandmaster_output.h"
#include "ptp/message_builder.h"
#include "ptp/ptp_handler.h"
#include "ptp/ptp_messages.h"
#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"
#include "tests/support/fake_ptp_switch.h"
#include "tests/support/operator.h"
#include "tests/support/stepped_time.h"

namespace norvad::test {

using network::KeptGrandmasterOutput;

// A handler in front of a switch with both external ports in service, and a neighbour to speak for.
class PtpFixture : public testing::Test, protected SteppedTime {
protected:
    using Direction = FakePtpSwitch::Direction;

    static constexpr MacAddress ownMac{0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    static constexpr ClockIdentity own{0x00, 0x11, 0x22, 0xFF, 0xFE, 0x33, 0x44, 0x55};
    static constexpr MacAddress peerMac{0x00, 0x1B, 0x21, 0xAA, 0xBB, 0xCC};
    static constexpr ClockIdentity peer{0x00, 0x1B, 0x21, 0xFF, 0xFE, 0xAA, 0xBB, 0xCC};

    PtpFixture() {
        fake.Raise(0);
        fake.Raise(1);
        Build({});
    }

    void Build(const PtpSettings& settings) {
        handler.reset();
        handler = std::make_unique<PTPHandler>(fake, fake, timers, ownMac.data(), settings,
                                               std::make_unique<KeptGrandmasterOutput>(kept));
    }

    // A frame as it comes in by port: the fixed part, then what stands behind.
    template <WireRecord Frame>
    static Bytes Received(uint8_t port, const Frame& frame, std::span<const uint8_t> behind = {}) {
        Bytes received = Join({Copy(BytesOf(frame)), Copy(behind)});
        received[17] = static_cast<uint8_t>(port << 3);
        return received;
    }
    void Handle(std::span<const uint8_t> frame) { handler->HandleFrame(frame, ETHERTYPE_PTP2); }
    template <WireRecord Frame>
    void Receive(uint8_t port, const Frame& frame, std::span<const uint8_t> behind = {}) {
        Handle(Received(port, frame, behind));
    }

    std::string Logged(int32_t level, const std::function<void()>& action) {
        CapturedLog capture(LogCategory::PTP, level);
        action();
        return capture.Text();
    }

    std::string Control(const std::vector<std::string>& words) { return AnswerOf(*handler, words); }
    std::string Status() { return Control({"-p"}); }

    // The frames of one message that were handed over for a port, oldest first.
    std::vector<Bytes> Sent(uint8_t port, PTPMessage message) const {
        std::vector<Bytes> frames;
        for (const auto& frame : fake.sent) {
            if (frame.port == port && frame.bytes.at(22) == static_cast<uint8_t>(message)) {
                frames.push_back(frame.bytes);
            }
        }
        return frames;
    }
    template <WireRecord Frame>
    Frame LastSent(uint8_t port, PTPMessage message) const {
        const auto frames = Sent(port, message);
        EXPECT_FALSE(frames.empty());
        if (frames.empty()) return {};
        return *Peek<Frame>(frames.back());
    }

    // An Announce of the neighbour's about a clock, whose path is as long as its steps say.
    Bytes AnnounceFrom(uint8_t port, const ClockIdentity& sender, const ClockDataset& dataset) const {
        auto announce = BuildAnnounce(peerMac, sender).frame;
        announce.message.dataset = dataset;
        const size_t entries = (dataset.stepsRemoved & 0xFFU) + 1U;
        announce.message.lengthField = static_cast<uint16_t>(entries * 8);
        announce.message.header.messageLength = static_cast<uint16_t>(68 + entries * 8);
        Bytes path(entries * 8);
        for (size_t at = 0; at < path.size(); ++at) path[at] = sender[at % 8];
        return Received(port, announce, path);
    }
    static ClockDataset DatasetOf(uint8_t priority1, const ClockIdentity& grandmaster, uint16_t stepsRemoved = 0) {
        return {priority1, 248, 0xFE, 0x4100, 248, grandmaster, stepsRemoved};
    }
    // A better clock behind the neighbour on port 0.
    void BecomeSlave() { Handle(AnnounceFrom(0, peer, DatasetOf(1, peer))); }

    FakePtpSwitch fake;
    KeptGrandmasterOutput::Kept kept;
    std::unique_ptr<PTPHandler> handler;
};

}  // namespace norvad::test
