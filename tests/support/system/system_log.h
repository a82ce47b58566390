#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/system/wait_for.h"

namespace norvad::test {

// The system log of this world: listens at /dev/log while it lives and keeps what it is sent. A message sent before a
// question is part of the answer: what a program logs before it does something that a test has seen needs no wait.
class SystemLog {
public:
    struct Entry {
        int facility;  // LOG_USER, ...
        int severity;  // LOG_ERR, LOG_INFO, ...
        std::string text;
    };

    SystemLog();
    ~SystemLog();

    std::vector<Entry> Entries() const;

    // Whether there is an entry of exactly that text.
    bool Has(const std::string& text) const;

    // Whether there is one before the deadline.
    bool WaitForText(const std::string& text, std::chrono::milliseconds deadline = longEnough) const;

    // Whether some entry, the first skipped ones aside, contains part before the deadline.
    bool WaitForPart(const std::string& part, size_t skipped = 0,
                     std::chrono::milliseconds deadline = longEnough) const;

    size_t Count(const std::string& text) const;
    size_t Size() const { return Entries().size(); }

    // Everything, one line an entry, to be shown when an expectation fails.
    std::string Everything() const;

private:
    void Listen();
    void TakeArrived() const;  // under mutex

    int socket = -1;
    int stop = -1;
    mutable std::mutex mutex;
    mutable std::vector<Entry> entries;
    std::thread listener;
};

}  // namespace norvad::test
