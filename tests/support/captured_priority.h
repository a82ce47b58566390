#pragma once

#include <sys/types.h>

#include <vector>

namespace norvad::test {

struct PriorityCall {
    int which;
    id_t who;
    int priority;
    bool operator==(const PriorityCall&) const = default;
};

// The calls of setpriority, whose place the test program's own takes.
std::vector<PriorityCall>& CapturedPriorities();

}  // namespace norvad::test
