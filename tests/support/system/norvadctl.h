#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/system/peer_queue.h"
#include "tests/support/system/process.h"

namespace norvad::test {

// The queue for the answers of that norvadctl; with the number it counts, as each question that is put has a new one.
inline std::string AnswersTo(pid_t norvadctl, int number = 1) {
    return "/norvadctl." + std::to_string(norvadctl) + "." + std::to_string(number);
}

// Whether any of the first queues of that process is there.
inline bool HasQueue(pid_t norvadctl) {
    for (int number = 1; number <= 64; ++number) {
        if (PeerQueue::Exists(AnswersTo(norvadctl, number))) return true;
    }
    return false;
}

struct Shown {
    std::optional<int> status;
    std::string output;
    std::string errors;
};

// How that norvadctl, which runs already, ends. It leaves no queue behind.
inline Shown EndOf(Process& norvadctl) {
    const auto status = norvadctl.WaitForExit();
    EXPECT_FALSE(HasQueue(norvadctl.Id()));
    return {status, norvadctl.Output(), norvadctl.Errors()};
}

inline std::vector<std::string> NorvadctlCommand(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), NORVADCTL);
    return arguments;
}

inline Shown RunNorvadctl(const std::vector<std::string>& arguments) {
    Process program(NorvadctlCommand(arguments));
    return EndOf(program);
}

}  // namespace norvad::test
