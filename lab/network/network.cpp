#include "lab/network/network.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "lab/network/egress_port.h"
#include "lab/network/random.h"

namespace norvad::network {

namespace {

constexpr uint64_t nsPerMs = 1'000'000;
constexpr uint64_t nsPerSecond = 1'000'000'000;

}  // namespace

struct Cable {
    struct End {
        Node* node;
        uint8_t port;
        PortTally* tally;
        uint64_t arrivedNs = 0;              // the first bit of the latest frame from here, at the other end
        std::shared_ptr<EgressPort> egress;  // null: frames take no time
    };

    size_t IndexOf(const Node& node, uint8_t port) const {
        return ends[0].node == &node && ends[0].port == port ? 0 : 1;
    }
    uint64_t ArrivalNs(size_t from, uint64_t sentNs);

    std::array<End, 2> ends;
    CableSettings settings;
    Random random;
    bool pluggedIn = true;
};

uint64_t Cable::ArrivalNs(size_t from, uint64_t sentNs) {
    uint64_t ns = sentNs + settings.delayNs[from];
    if (settings.jitterNs > 0) ns += random.Below(settings.jitterNs);
    return ends[from].arrivedNs = std::max(ns, ends[from].arrivedNs);
}

timespec NetworkClock::Monotonic() const {
    return {static_cast<time_t>(Ns() / nsPerSecond), static_cast<long>(Ns() % nsPerSecond)};
}

timeval NetworkClock::TimeOfDay() const {
    return {static_cast<time_t>(Ns() / nsPerSecond), static_cast<suseconds_t>(Ns() % nsPerSecond / 1'000)};
}

void NetworkClock::Sleep(uint32_t) {
    throw std::logic_error("only a bridge on its own stack may sleep");
}

void Network::Connect(Node& a, uint8_t portOfA, Node& b, uint8_t portOfB, uint64_t delayNs) {
    CableSettings settings;
    settings.delayNs = {delayNs, delayNs};
    Connect(a, portOfA, b, portOfB, settings);
}

void Network::Connect(Node& a, uint8_t portOfA, Node& b, uint8_t portOfB, const CableSettings& settings) {
    const std::array<Cable::End, 2> ends{
        {{&a, portOfA, &a.tallies.at(portOfA), 0, nullptr}, {&b, portOfB, &b.tallies.at(portOfB), 0, nullptr}}};
    const auto cable = std::make_shared<Cable>(Cable{ends, settings, Random(settings.seed, "cable")});
    if (settings.bitsPerSecond > 0) MakeQueues(cable);
    a.cables.at(portOfA) = b.cables.at(portOfB) = cable;
    a.LinkChanged(portOfA, true);
    b.LinkChanged(portOfB, true);
}

// Frames that wait are lost with their cable.
void Network::MakeQueues(const std::shared_ptr<Cable>& cable) {
    for (const size_t from : {size_t{0}, size_t{1}}) {
        const auto begin = [this, held = std::weak_ptr(cable), from](std::span<const uint8_t> frame,
                                                                     uint64_t durationNs) {
            const auto lives = held.lock();
            if (lives && lives->pluggedIn) Begin(lives, from, frame, durationNs);
        };
        cable->ends[from].egress = std::make_shared<EgressPort>(
            engine, EgressPort::Settings{cable->settings.bitsPerSecond, cable->settings.queueFrames}, begin,
            *cable->ends[from].tally);
    }
}

void Network::Disconnect(Node& node, uint8_t port) {
    const std::shared_ptr<Cable> cable = node.cables.at(port);
    cable->pluggedIn = false;
    for (const Cable::End& end : cable->ends) {
        end.node->cables[end.port] = nullptr;
        if (end.egress) end.tally->cutOff += end.egress->Waiting();
    }
    for (const Cable::End& end : cable->ends) end.node->LinkChanged(end.port, false);
}

bool Network::Send(Node& from, uint8_t port, std::span<const uint8_t> frame) {
    const std::shared_ptr<Cable> cable = from.cables.at(port);
    if (!cable) {
        from.BeginsToLeave(port, frame);
        return true;
    }
    const size_t index = cable->IndexOf(from, port);
    if (const auto& egress = cable->ends[index].egress) return egress->Send(frame);
    Begin(cable, index, frame, 0);
    return true;
}

uint64_t Network::SendNext(Node& from, uint8_t port, std::span<const uint8_t> frame) {
    const std::shared_ptr<Cable> cable = from.cables.at(port);
    const auto egress = cable ? cable->ends[cable->IndexOf(from, port)].egress : nullptr;
    if (egress) return egress->SendNext(frame);
    Send(from, port, frame);
    return clock.Ns();
}

// The first bit of a frame leaves one end of a cable.
void Network::Begin(const std::shared_ptr<Cable>& cable, size_t from, std::span<const uint8_t> frame,
                    uint64_t durationNs) {
    const Cable::End& end = cable->ends[from];
    ++end.tally->sent;
    end.node->BeginsToLeave(end.port, frame);
    if (filter && !filter(*end.node, end.port, frame)) return;
    const uint32_t lostPerMillion = cable->settings.lostPerMillion[from];
    if (lostPerMillion > 0 && cable->random.Happens(lostPerMillion)) {
        ++end.tally->lostOnCable;
        return;
    }
    const uint64_t beganNs = cable->ArrivalNs(from, clock.Ns());
    engine.At(beganNs + durationNs, [cable, from, beganNs, bytes = Bytes(frame.begin(), frame.end())] {
        const Cable::End& to = cable->ends[1 - from];
        if (cable->pluggedIn) return to.node->Arrive(to.port, bytes, beganNs);
        ++cable->ends[from].tally->cutOff;
    });
}

std::array<uint32_t, trafficClassCount> Network::TakeDeepest(Node& node, uint8_t port) {
    const auto deepest = node.tallies.at(port).TakeDeepest();
    const auto& cable = node.cables.at(port);
    const auto egress = cable ? cable->ends[cable->IndexOf(node, port)].egress : nullptr;
    if (egress) egress->CountDepths();
    return deepest;
}

void Network::Reserve(Node& node, uint8_t port, uint64_t bytesPerSecond) {
    const auto& cable = node.cables.at(port);
    const auto egress = cable ? cable->ends[cable->IndexOf(node, port)].egress : nullptr;
    if (egress) egress->Reserve(bytesPerSecond);
}

uint64_t Network::RateOf(const Node& node, uint8_t port) const {
    const auto& cable = node.cables.at(port);
    return cable ? cable->settings.bitsPerSecond : 0;
}

void Network::RunMs(uint64_t ms) {
    Refresh();
    engine.RunUntil(clock.Ns() + ms * nsPerMs);
}

bool Network::RunUntil(const std::function<bool()>& condition, uint64_t atMostMs) {
    Refresh();
    if (condition()) return true;
    engine.RunUntil(clock.Ns() + atMostMs * nsPerMs, condition);
    return condition();
}

void Network::Refresh() {
    for (Node* node : nodes) node->Refresh();
}

}  // namespace norvad::network
