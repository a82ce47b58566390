#pragma once

#include <chrono>
#include <thread>

namespace norvad::test {

// Deadlines are generous: they bound a test that goes wrong and decide nothing else.
inline constexpr std::chrono::seconds longEnough{30};

// Looks at condition until it holds; false when it still does not after deadline.
template <typename Condition>
bool WaitFor(Condition condition, std::chrono::milliseconds deadline = longEnough) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace norvad::test
