#pragma once

#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ctl/control_door.h"

namespace norvad::ctl::test {

// A daemon and a clock without a kernel: what is waited for takes its time at once.
class FakeControlDoor final : public ControlDoor {
public:
    struct Piece {
        std::string text;
        bool last = false;
        uint64_t afterMs = 0;  // since the piece before it
    };

    // What happens to the requests, one after the other; the last entry holds for all further ones.
    std::deque<Sending> sendings{Sending::SENT};
    std::function<std::vector<Piece>(const std::string& words)> daemon;  // asked at each request it takes
    bool requestIsLost = false;
    bool daemonIsRecorded = false;
    bool isResized = false;  // the terminal, during the next pause
    std::function<void()> onPause;

    std::vector<std::string> taken;  // the words of the requests that the daemon took
    std::vector<uint64_t> triedAtMs;
    unsigned renewals = 0;
    uint64_t nowMs = 1000;

    void RenewReplyQueue() override {
        ++renewals;
        pieces.clear();
    }
    Sending Send(ControlMessage& request) override {
        triedAtMs.push_back(nowMs);
        const Sending outcome = sendings.front();
        if (sendings.size() > 1) sendings.pop_front();
        if (outcome != Sending::SENT) return outcome;
        taken.emplace_back(norvad::TextOf(request.text));
        if (daemon) {
            for (const Piece& piece : daemon(taken.back())) pieces.push_back(piece);
        }
        return outcome;
    }
    bool RequestIsLost() const override { return requestIsLost; }
    std::optional<ControlMessage> Receive(uint64_t waitMs) override {
        if (waitMs == 0) throw std::logic_error("a wait of no time");
        if (pieces.empty() || pieces.front().afterMs > waitMs) {
            nowMs += waitMs;
            if (!pieces.empty()) pieces.front().afterMs -= waitMs;
            return {};
        }
        const Piece piece = pieces.front();
        pieces.pop_front();
        nowMs += piece.afterMs;
        ControlMessage message{};
        PutText(message.text, piece.text);
        message.last = piece.last ? 1 : 0;
        return message;
    }
    void Pause(uint64_t ms) override {
        nowMs += ms;
        if (onPause) onPause();
    }
    bool PauseUntilResized(uint64_t ms) override {
        Pause(ms);
        return std::exchange(isResized, false);
    }
    uint64_t NowMs() const override { return nowMs; }
    timeval TimeOfDay() const override { return {static_cast<time_t>(nowMs / 1000), 0}; }
    bool DaemonIsRecorded() const override { return daemonIsRecorded; }

private:
    std::deque<Piece> pieces;
};

}  // namespace norvad::ctl::test
