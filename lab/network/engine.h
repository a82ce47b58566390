#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace norvad::network {

// The time of a world in software, in nanoseconds, and what is to happen in it: in the order of time and, at one
// instant, in the order in which it was asked for.
class Engine {
public:
    explicit Engine(uint64_t startNs = 1'000'000'000'000) : nowNs(startNs) {}
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    uint64_t NowNs() const { return nowNs; }
    size_t Waiting() const { return events.size(); }  // actions that are to happen

    // Lets action happen at an instant; one that has passed is now.
    void At(uint64_t ns, std::function<void()> action);

    // Lets happen what is due until then, that instant included, and stops early, after an action, when enough() says
    // so. Time has then come to ns, or to that action.
    void RunUntil(uint64_t ns, const std::function<bool()>& enough = {});

private:
    struct Event {
        uint64_t ns;
        uint64_t order;
        std::function<void()> action;
    };
    static bool IsLater(const Event& left, const Event& right);

    uint64_t nowNs;
    uint64_t nextOrder = 0;
    std::vector<Event> events;  // a heap, the next one in front
};

}  // namespace norvad::network
