#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "base/log.h"

namespace norvad::test {

// Everything that is logged up to level while it lives, without the time stamps.
class LogCapture {
public:
    explicit LogCapture(int32_t level) {
        debugLevels.fill(level);
        testing::internal::CaptureStdout();
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() {
        if (!isTaken) (void)Take();
    }

    // The lines, each with its newline; ends the capture.
    std::string Take() {
        isTaken = true;
        std::fflush(stdout);
        debugLevels.fill(0);
        return WithoutStamps(testing::internal::GetCapturedStdout());
    }

private:
    static std::string WithoutStamps(const std::string& text) {
        constexpr size_t stampLength = 13;  // "12:34:56:789 "
        std::string lines;
        for (size_t start = 0; start < text.size();) {
            const size_t end = std::min(text.find('\n', start), text.size() - 1);
            lines += text.substr(start + stampLength, end + 1 - start - stampLength);
            start = end + 1;
        }
        return lines;
    }

    bool isTaken = false;
};

// What action logs at a level.
template <typename Action>
std::string Logged(int32_t level, Action action) {
    LogCapture capture(level);
    action();
    return capture.Take();
}

}  // namespace norvad::test
