#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "base/log.h"

namespace norvad::test {

// Sets a category's level and keeps what is logged, from its construction until Lines; the levels go back to 0 with it.
// One at a time.
class CapturedLog {
public:
    explicit CapturedLog(LogCategory category, int32_t level = 0) {
        debugLevels[static_cast<size_t>(category)] = level;
        testing::internal::CaptureStdout();
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;
    ~CapturedLog() {
        if (capturing) Text();
        debugLevels = {};
    }

    // What was logged so far, without the stamps "14:03:27:058 " and without line ends; ends the capture.
    std::vector<std::string> Lines() {
        constexpr size_t stampLength = 13;
        std::istringstream stream(Text());
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line.size() >= stampLength && line[2] == ':' ? line.substr(stampLength) : line);
        }
        return lines;
    }

private:
    std::string Text() {
        capturing = false;
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    bool capturing = true;
};

}  // namespace norvad::test
