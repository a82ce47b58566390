#include "lab/network/fiber.h"

#include <boost/context/fiber.hpp>
#include <boost/context/preallocated.hpp>
#include <boost/context/protected_fixedsize_stack.hpp>
#include <cassert>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define NORVAD_TELLS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NORVAD_TELLS_SANITIZER 1
#endif
#endif

#ifdef NORVAD_TELLS_SANITIZER
#include <sanitizer/common_interface_defs.h>
#endif

namespace norvad::network {

namespace {

namespace context = boost::context;

// The address sanitizer must hear of every switch of stacks, as it keeps a shadow of the one that runs. Its frames are
// larger, too.
#ifdef NORVAD_TELLS_SANITIZER
constexpr size_t stackSize = 512 * 1024;

void AnnounceSwitch(void** leftShadow, const void* bottom, size_t size) {
    __sanitizer_start_switch_fiber(leftShadow, bottom, size);
}
void ArriveFromSwitch(void* ownShadow, const void** leftBottom, size_t* leftSize) {
    __sanitizer_finish_switch_fiber(ownShadow, leftBottom, leftSize);
}
#else
constexpr size_t stackSize = 64 * 1024;

void AnnounceSwitch(void**, const void*, size_t) {}
void ArriveFromSwitch(void*, const void**, size_t*) {}
#endif

}  // namespace

// Behind its end lies a page that nobody may touch.
struct Fiber::Stack {
    context::protected_fixedsize_stack allocator{stackSize};
    context::stack_context memory = allocator.allocate();
    context::fiber inside;   // the body, while it is paused
    context::fiber outside;  // whoever resumed it, while it runs

    // Of both stacks, for the sanitizer.
    const void* bottom = static_cast<const char*>(memory.sp) - memory.size;
    const void* outsideBottom = nullptr;
    size_t outsideSize = 0;
    void* shadow = nullptr;
    void* outsideShadow = nullptr;
};

Fiber::Fiber(std::function<void()> body) : body(std::move(body)) {}

Fiber::~Fiber() {
    assert(!stack || ended);
}

void Fiber::Resume() {
    assert(!running && !ended);
    if (!stack) Begin();
    running = true;
    AnnounceSwitch(&stack->outsideShadow, stack->bottom, stack->memory.size);
    stack->inside = std::move(stack->inside).resume();
    ArriveFromSwitch(stack->outsideShadow, nullptr, nullptr);
    running = false;
    if (escaped) std::rethrow_exception(std::exchange(escaped, nullptr));
}

// Makes the stack and puts what runs on it in place.
void Fiber::Begin() {
    stack = std::make_unique<Stack>();
    const auto run = [this](context::fiber&& caller) {
        ArriveFromSwitch(nullptr, &stack->outsideBottom, &stack->outsideSize);
        stack->outside = std::move(caller);
        try {
            body();
        } catch (...) {
            escaped = std::current_exception();
        }
        ended = true;
        AnnounceSwitch(nullptr, stack->outsideBottom, stack->outsideSize);
        return std::move(stack->outside);
    };
    const context::preallocated place(stack->memory.sp, stack->memory.size, stack->memory);
    stack->inside = context::fiber(std::allocator_arg, place, stack->allocator, run);
}

void Fiber::Pause() {
    assert(running);
    AnnounceSwitch(&stack->shadow, stack->outsideBottom, stack->outsideSize);
    stack->outside = std::move(stack->outside).resume();
    ArriveFromSwitch(stack->shadow, &stack->outsideBottom, &stack->outsideSize);
}

}  // namespace norvad::network
