#pragma once

#include <boost/program_options.hpp>
#include <memory>
#include <queue>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "base/timer_service.h"
#include "lab/network/stepped_clock.h"
#include "ptp/ptp_handler.h"
#include "ptp/ptp_messages.h"
#include "tests/ptp/ptp_fixture.h"
#include "tests/support/fake_ptp_switch.h"
#include "tests/support/modelled_ptp_clock.h"

namespace norvad::test {

// Whole gPTP handlers, each in front of a switch with a clock of its own, and cables between them. A frame takes the
// cable's time to arrive, is stamped when it leaves and when it arrives, and is handled some 50 to 550 us later, in
// the order of arrival. One thread, one seed: a run is the same every time.
class PtpNetwork {
public:
    struct Node {
        Node(const Clock& time, uint8_t number, double errorPpm, uint64_t startNs, const PtpSettings& settings)
            : clock(errorPpm, startNs), timers(time) {
            const MacAddress mac{0x02, 0x00, 0x00, 0x00, 0x00, number};
            identity = ClockIdentityOf(mac);
            fake.keepsSent = false;
            handler = std::make_unique<PTPHandler>(fake, fake, timers, mac.data(), settings,
                                                   std::make_unique<KeptGrandmasterOutput>(kept));
        }

        ModelledPtpClock clock;
        ClockIdentity identity;
        FakePtpSwitch fake;
        TimerService timers;
        KeptGrandmasterOutput::Kept kept;
        std::unique_ptr<PTPHandler> handler;
        uint64_t nextTimersNs = 0;
        uint64_t lastHandledNs = 0;

        std::string Status() const {
            boost::program_options::variables_map values;
            values.insert({"ptp", boost::program_options::variable_value(boost::any(std::string()), false)});
            std::ostringstream answer;
            handler->HandleControlOptions(values, answer);
            return answer.str();
        }
        // What stands behind a label of the status line.
        double Shown(const std::string& label) const {
            const std::string status = Status();
            return std::stod(status.substr(status.find(label) + label.size()));
        }
        std::string State() const {
            const std::string status = Status();
            return status.substr(3, status.find(':', 3) - 3);
        }
    };
    struct End {
        size_t node;
        uint8_t port;
        bool operator==(const End&) const = default;
    };
    struct Cable {
        End ends[2];
        uint64_t delayNs;
        bool cut = false;
    };

    PtpNetwork() = default;
    PtpNetwork(const PtpNetwork&) = delete;
    PtpNetwork& operator=(const PtpNetwork&) = delete;

    Node& Add(double errorPpm, const PtpSettings& settings = {}, uint64_t startNs = 1'000'000'000) {
        const size_t index = nodes.size();
        nodes.push_back(std::make_unique<Node>(time, static_cast<uint8_t>(index + 1), errorPpm, startNs, settings));
        Node& node = *nodes.back();
        node.fake.onSend = [this, index](uint8_t port, std::span<const uint8_t> frame) { Send({index, port}, frame); };
        node.fake.onSteer = [this, &node](int32_t value) { node.clock.Steer(time.Ns(), value); };
        node.fake.onClockStep = [this, &node](uint64_t value) { node.clock.Step(time.Ns(), value); };
        return node;
    }

    Cable& Connect(End one, End other, uint64_t delayNs) {
        cables.push_back(std::make_unique<Cable>(Cable{{one, other}, delayNs}));
        nodes[one.node]->fake.Raise(one.port);
        nodes[other.node]->fake.Raise(other.port);
        return *cables.back();
    }

    void RunMs(uint64_t ms) {
        for (uint64_t step = 0; step < ms; ++step) {
            const uint64_t next = time.Ns() + 1'000'000;
            RunEventsUntil(next);
            MoveTo(next);
            RunTimers();
        }
    }

    Node& operator[](size_t index) { return *nodes[index]; }
    size_t Size() const { return nodes.size(); }
    // How far the clock of a node is ahead of another's now, in ns.
    double Ahead(size_t node, size_t reference) {
        return static_cast<double>(nodes[node]->clock.At(time.Ns()) - nodes[reference]->clock.At(time.Ns()));
    }

private:
    struct Event {
        uint64_t dueNs;
        uint64_t order;
        bool handles;  // else it arrives
        End to;
        std::vector<uint8_t> frame;
        bool operator>(const Event& other) const {
            return dueNs != other.dueNs ? dueNs > other.dueNs : order > other.order;
        }
    };

    static uint8_t TypeOf(std::span<const uint8_t> frame) { return frame[taggedHeaderSize] & 0x0F; }

    void Stamp(FakePtpSwitch::Direction direction, End at, std::span<const uint8_t> frame) {
        const uint8_t type = TypeOf(frame);
        if (!IsEventType(type)) return;
        const uint16_t sequenceId = Peek<PTPHeader>(frame, taggedHeaderSize)->sequenceId;
        Node& node = *nodes[at.node];
        node.fake.PutStamp(direction, at.port, type, sequenceId, node.clock.Stamp(time.Ns()));
    }

    void Send(End from, std::span<const uint8_t> frame) {
        Stamp(FakePtpSwitch::Direction::TRANSMIT, from, frame);
        for (const auto& cable : cables) {
            for (const int end : {0, 1}) {
                if (cable->ends[end] != from || cable->cut) continue;
                Put(time.Ns() + cable->delayNs, false, cable->ends[1 - end], {frame.begin(), frame.end()});
            }
        }
    }

    void Put(uint64_t dueNs, bool handles, End to, std::vector<uint8_t> frame) {
        events.push({dueNs, order++, handles, to, std::move(frame)});
    }

    void RunEventsUntil(uint64_t untilNs) {
        while (!events.empty() && events.top().dueNs < untilNs) {
            Event event = events.top();
            events.pop();
            MoveTo(event.dueNs);
            if (event.handles)
                Handle(std::move(event));
            else
                Arrive(std::move(event));
        }
    }

    void Arrive(Event event) {
        Stamp(FakePtpSwitch::Direction::RECEIVE, event.to, event.frame);
        Node& node = *nodes[event.to.node];
        node.lastHandledNs = std::max(time.Ns() + 50'000 + random() % 500'000, node.lastHandledNs + 1'000);
        Put(node.lastHandledNs, true, event.to, std::move(event.frame));
    }

    void Handle(Event event) {
        event.frame[16] = 0;
        event.frame[17] = static_cast<uint8_t>(event.to.port << 3);
        nodes[event.to.node]->handler->HandleFrame(event.frame, ETHERTYPE_PTP2);
    }

    void RunTimers() {
        for (const auto& node : nodes) {
            if (time.Ns() >= node->nextTimersNs) {
                node->nextTimersNs = time.Ns() + uint64_t{node->timers.runDue()} * 1'000'000;
            }
        }
    }

    void MoveTo(uint64_t ns) { time.AdvanceNs(ns - time.Ns()); }

    SteppedClock time;
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<std::unique_ptr<Cable>> cables;
    std::priority_queue<Event, std::vector<Event>, std::greater<>> events;
    uint64_t order = 0;
    std::mt19937 random{42};
};

}  // namespace norvad::test
