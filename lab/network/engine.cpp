#include "lab/network/engine.h"

#include <algorithm>
#include <utility>

namespace norvad::network {

void Engine::At(uint64_t ns, std::function<void()> action) {
    events.push_back({std::max(ns, nowNs), nextOrder++, std::move(action)});
    std::push_heap(events.begin(), events.end(), IsLater);
}

void Engine::RunUntil(uint64_t ns, const std::function<bool()>& enough) {
    while (!events.empty() && events.front().ns <= ns) {
        std::pop_heap(events.begin(), events.end(), IsLater);
        const Event event = std::move(events.back());
        events.pop_back();
        nowNs = event.ns;
        event.action();
        if (enough && enough()) return;
    }
    nowNs = std::max(nowNs, ns);
}

bool Engine::IsLater(const Event& left, const Event& right) {
    return left.ns != right.ns ? left.ns > right.ns : left.order > right.order;
}

}  // namespace norvad::network
