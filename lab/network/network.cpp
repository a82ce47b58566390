#include "lab/network/network.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

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
        uint64_t arrivedNs = 0;  // the latest frame from here, at the other end
    };

    size_t IndexOf(const Node& node, uint8_t port) const {
        return ends[0].node == &node && ends[0].port == port ? 0 : 1;
    }
    const End& FarFrom(size_t index) const { return ends[1 - index]; }
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
    const std::array<Cable::End, 2> ends{{{&a, portOfA}, {&b, portOfB}}};
    a.cables.at(portOfA) = b.cables.at(portOfB) =
        std::make_shared<Cable>(Cable{ends, settings, Random(settings.seed, "cable")});
    a.LinkChanged(portOfA, true);
    b.LinkChanged(portOfB, true);
}

void Network::Disconnect(Node& node, uint8_t port) {
    const std::shared_ptr<Cable> cable = node.cables.at(port);
    cable->pluggedIn = false;
    for (const Cable::End& end : cable->ends) end.node->cables[end.port] = nullptr;
    for (const Cable::End& end : cable->ends) end.node->LinkChanged(end.port, false);
}

void Network::Send(Node& from, uint8_t port, std::span<const uint8_t> frame) {
    from.BeginsToLeave(port, frame);
    const std::shared_ptr<Cable> cable = from.cables.at(port);
    if (!cable || (filter && !filter(from, port, frame))) return;
    const size_t index = cable->IndexOf(from, port);
    const uint32_t lostPerMillion = cable->settings.lostPerMillion[index];
    if (lostPerMillion > 0 && cable->random.Happens(lostPerMillion)) {
        ++lostFrames;
        return;
    }
    const uint64_t arrivalNs = cable->ArrivalNs(index, clock.Ns());
    engine.At(arrivalNs, [cable, to = cable->FarFrom(index), arrivalNs, bytes = Bytes(frame.begin(), frame.end())] {
        if (cable->pluggedIn) to.node->Arrive(to.port, bytes, arrivalNs);
    });
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
