#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>

namespace norvad::network {

// A function on a stack of its own, which can stop in the middle and go on later.
class Fiber {
public:
    explicit Fiber(std::function<void()> body);  // not begun yet
    Fiber(const Fiber&) = delete;
    Fiber& operator=(const Fiber&) = delete;
    ~Fiber();  // the body has ended, or has never begun

    // Runs the body until it pauses or ends; throws what escapes from it, and that ends it.
    void Resume();

    // Called by the body: goes back to whoever has resumed it, until it is resumed again.
    void Pause();

    bool IsRunning() const { return running; }
    bool HasEnded() const { return ended; }

private:
    struct Stack;

    void Begin();

    std::function<void()> body;
    std::unique_ptr<Stack> stack;  // from the first Resume on
    std::exception_ptr escaped;
    bool running = false;
    bool ended = false;
};

}  // namespace norvad::network
