#pragma once

#include <boost/function.hpp>
#include <map>
#include <string>
#include <vector>

namespace norvad::test {

struct IsolatedOutcome {
    int status = -1;                            // exit status of the process itself; -1 when it was killed
    std::vector<int> heirs;                     // those of the orphans it left, in any order
    std::string standardOutput, standardError;  // of all of them
    std::vector<std::string> syslog;            // "<priority>text"
    std::map<std::string, std::string> files;   // what "/tmp" holds when all have ended
};

// Runs body in a process of its own with its own /tmp, message queues, network and process ids; its result is
// the exit status. Process 1 is the one that waits for it. Works as root and as an ordinary user.
IsolatedOutcome RunIsolated(const boost::function<int()>& body);

// Runs body so; what it expects in vain fails the test.
void ExpectIsolated(const boost::function<void()>& body);

}  // namespace norvad::test
