#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace norvad::ctl {

// So many places; whoever holds one gives it back at its end. All in one thread.
class Places {
public:
    using Place = std::shared_ptr<const size_t>;

    explicit Places(size_t count) : count(count) {}

    // Null when all are taken.
    Place Take() { return static_cast<size_t>(taken.use_count()) <= count ? taken : nullptr; }

private:
    const size_t count;
    const Place taken = std::make_shared<const size_t>(0);
};

}  // namespace norvad::ctl
