#include "lab/network/network.h"

#include <algorithm>

namespace norvad::test {

void Network::Connect(Node& a, uint8_t portOfA, Node& b, uint8_t portOfB, uint64_t delayNs) {
    cables[{&a, portOfA}] = {{&b, portOfB}, delayNs};
    cables[{&b, portOfB}] = {{&a, portOfA}, delayNs};
    a.LinkChanged(portOfA, true);
    b.LinkChanged(portOfB, true);
}

void Network::Disconnect(Node& node, uint8_t port) {
    const End near{&node, port};
    const End far = cables.at(near).farEnd;
    cables.erase(near);
    cables.erase(far);
    std::erase_if(underWay, [&](const auto& each) { return each.second.to == near || each.second.to == far; });
    near.first->LinkChanged(near.second, false);
    far.first->LinkChanged(far.second, false);
}

void Network::Send(Node& from, uint8_t port, std::span<const uint8_t> frame) {
    const auto cable = cables.find({&from, port});
    if (cable == cables.end() || (filter && !filter(from, port, frame))) return;
    underWay.emplace(clock.Ns() + cable->second.delayNs,
                     Delivery{cable->second.farEnd, Bytes(frame.begin(), frame.end())});
}

void Network::RunMs(uint64_t ms) {
    const uint64_t endNs = clock.Ns() + ms * 1'000'000;
    while (clock.Ns() < endNs) Step(endNs);
}

bool Network::RunUntil(const std::function<bool()>& condition, uint64_t atMostMs) {
    const uint64_t endNs = clock.Ns() + atMostMs * 1'000'000;
    while (!condition() && clock.Ns() < endNs) Step(endNs);
    return condition();
}

void Network::Step(uint64_t untilNs) {
    for (Node* node : nodes) {
        if (node->DueNs() <= clock.Ns()) node->RunDue();
    }
    DeliverDue();
    const uint64_t next = std::min(untilNs, NextDueNs());
    if (next > clock.Ns()) clock.AdvanceNs(next - clock.Ns());
}

void Network::DeliverDue() {
    while (!underWay.empty() && underWay.begin()->first <= clock.Ns()) {
        const auto first = underWay.extract(underWay.begin());
        auto& [to, frame] = first.mapped();
        to.first->Arrive(to.second, frame, first.key());
        to.first->RunDue();
    }
}

uint64_t Network::NextDueNs() const {
    uint64_t next = underWay.empty() ? UINT64_MAX : underWay.begin()->first;
    for (const Node* node : nodes) next = std::min(next, node->DueNs());
    return next;
}

}  // namespace norvad::test
