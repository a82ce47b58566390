#pragma once

#include <array>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"

namespace norvad::test {

// Takes what is logged, up to a level, from its construction until its text is taken or it goes; then the levels are
// what they were before and lines go where they went.
class CapturedLog final : private LogSink {
public:
    // Of every category.
    explicit CapturedLog(int32_t level = 0) { debugLevels.fill(level); }
    // The other categories keep their levels, and are taken as well.
    explicit CapturedLog(LogCategory category, int32_t level = 0) {
        debugLevels[static_cast<size_t>(category)] = level;
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;
    ~CapturedLog() override { End(); }

    // Everything so far, each message with a newline at its end; ends the capture.
    std::string Text() {
        End();
        return text;
    }

    // The same line by line.
    std::vector<std::string> Lines() {
        std::istringstream stream(Text());
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }

private:
    void Write(LogCategory, int32_t, const char* message) override {
        const std::string_view line(message);
        text += line;
        if (!line.ends_with('\n')) text += '\n';
    }

    void End() {
        if (ended) return;
        ended = true;
        debugLevels = levels;
        SetLogSink(before);
    }

    const std::array<int32_t, logCategoryCount> levels = debugLevels;
    LogSink* const before = SetLogSink(this);
    std::string text;
    bool ended = false;
};

// What action logs up to a level, each message with a newline at its end.
template <typename Action>
std::string Logged(int32_t level, Action action) {
    CapturedLog captured(level);
    action();
    return captured.Text();
}

}  // namespace norvad::test
