#include "tests/support/captured_priority.h"

#include <sys/resource.h>

#include <cerrno>

namespace norvad::test {

std::vector<PriorityCall>& CapturedPriorities() {
    static std::vector<PriorityCall> calls;
    return calls;
}

}  // namespace norvad::test

// Refuses, as the kernel does to an ordinary user.
extern "C" int setpriority(__priority_which_t which, id_t who, int priority) noexcept {
    norvad::test::CapturedPriorities().push_back({static_cast<int>(which), who, priority});
    errno = EACCES;
    return -1;
}
