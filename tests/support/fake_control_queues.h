#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "daemon/control/control_queues.h"

namespace norvad::test {

// Message queues without a kernel. Each keeps what was sent to it; one that is received from and empty reports
// a time-out.
class FakeControlQueues final : public ControlQueues {
public:
    using Messages = std::deque<ControlMessage>;

    std::map<std::string, Messages> queues;  // by name; a test puts one here to let it exist
    size_t replyDepth = SIZE_MAX;            // messages that a reply queue holds
    std::vector<std::string> removed;
    std::vector<timespec> deadlines;
    std::function<void(const std::string&)> onSend;  // after a message came to the named queue

    std::unique_ptr<ControlQueue> Create(const std::string& name) override {
        if (queues.contains(name)) return Failure(EEXIST);
        queues[name];
        return std::make_unique<Queue>(*this, name);
    }
    std::unique_ptr<ControlQueue> Open(const std::string& name) override {
        if (!queues.contains(name)) return Failure(ENOENT);
        return std::make_unique<Queue>(*this, name);
    }
    std::unique_ptr<ReplyQueue> OpenReplies(const std::string& name) override {
        if (!queues.contains(name)) {
            errno = ENOENT;
            return nullptr;
        }
        return std::make_unique<Replies>(*this, name);
    }
    void Remove(const std::string& name) override {
        queues.erase(name);
        removed.push_back(name);
    }

private:
    class Queue final : public ControlQueue {
    public:
        Queue(FakeControlQueues& all, std::string name) : all(all), name(std::move(name)) {}

        bool Send(const ControlMessage& message) override {
            all.queues[name].push_back(message);
            if (all.onSend) all.onSend(name);
            return true;
        }
        ssize_t Receive(ControlMessage& message, const timespec& deadline) override {
            all.deadlines.push_back(deadline);
            Messages& messages = all.queues[name];
            if (messages.empty()) {
                errno = ETIMEDOUT;
                return -1;
            }
            message = messages.front();
            messages.pop_front();
            return sizeof message;
        }

    private:
        FakeControlQueues& all;
        std::string name;
    };

    class Replies final : public ReplyQueue {
    public:
        Replies(FakeControlQueues& all, std::string name) : all(all), name(std::move(name)) {}

        Outcome TrySend(const ControlMessage& message) override {
            const auto found = all.queues.find(name);
            if (found == all.queues.end()) return Outcome::LOST;
            if (found->second.size() >= all.replyDepth) return Outcome::FULL;
            found->second.push_back(message);
            return Outcome::TAKEN;
        }

    private:
        FakeControlQueues& all;
        std::string name;
    };

    static std::unique_ptr<ControlQueue> Failure(int error) {
        errno = error;
        return nullptr;
    }
};

}  // namespace norvad::test
