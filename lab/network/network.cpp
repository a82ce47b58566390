#include "lab/network/network.h"

#include <stdexcept>
#include <utility>

namespace norvad::network {

namespace {

constexpr uint64_t nsPerMs = 1'000'000;
constexpr uint64_t nsPerSecond = 1'000'000'000;

}  // namespace

struct Cable {
    struct End {
        Node* node;
        uint8_t port;
    };

    const End& FarFrom(const Node& node, uint8_t port) const {
        return ends[0].node == &node && ends[0].port == port ? ends[1] : ends[0];
    }

    std::array<End, 2> ends;
    uint64_t delayNs;
    bool pluggedIn = true;
};

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
    a.cables.at(portOfA) = b.cables.at(portOfB) =
        std::make_shared<Cable>(Cable{{{{&a, portOfA}, {&b, portOfB}}}, delayNs});
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
    const std::shared_ptr<const Cable> cable = from.cables.at(port);
    if (!cable || (filter && !filter(from, port, frame))) return;
    engine.At(clock.Ns() + cable->delayNs,
              [cable, to = cable->FarFrom(from, port), bytes = Bytes(frame.begin(), frame.end())] {
                  if (cable->pluggedIn) to.node->Arrive(to.port, bytes);
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
