#include "tests/support/system/control_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>

#include "tests/support/system/system_test.h"

namespace norvad::test {
namespace {

// What one start of the client prints. The answer that an earlier client did not wait for must not become this one's.
std::string AskOnce(const std::vector<std::string>& arguments, const std::string& program) {
    EXPECT_TRUE(WaitUntilServed());
    std::vector<std::string> command{program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Process client(command);
    EXPECT_EQ(client.WaitForExit(), 0);
    EXPECT_EQ(client.Errors(), "");
    return client.Output();
}

}  // namespace

Bytes ControlRequest(ControlType type, const std::string& text, const std::string& replyTo) {
    const auto length = static_cast<uint32_t>(text.size());
    Bytes message(controlMessageSize);
    std::copy(replyTo.begin(), replyTo.end(), message.begin());
    std::memcpy(&message.at(controlTypeAt), &type, sizeof type);  // numbers as the machine has them
    std::memcpy(&message.at(controlTypeAt + sizeof type), &length, sizeof length);
    std::copy(text.begin(), text.end(), message.begin() + controlTextAt);
    return message;
}

std::string ControlText(const Bytes& message) {
    EXPECT_EQ(message.size(), static_cast<size_t>(controlMessageSize));
    const auto begin = message.begin() + controlTextAt;
    return {begin, std::find(begin, message.end(), 0)};
}

void RecordDaemon(pid_t id) {
    std::ofstream(pidFile) << id;
}

// The daemon serves one request after the other, so it is through with all when it takes the last.
bool WaitUntilServed() {
    PeerQueue requests = PeerQueue::Open(requestQueue);
    const Bytes ignored = ControlRequest(controlUnknown, "");
    return WaitFor([&] { return requests.TrySend(ignored); }) && requests.WaitUntilEmpty();
}

std::string Ask(const std::vector<std::string>& arguments, const std::string& program) {
    std::string answer;
    const auto answered = [&] { return !(answer = AskOnce(arguments, program)).empty(); };
    EXPECT_TRUE(WaitFor(answered)) << testing::PrintToString(arguments);
    return answer;
}

bool WaitForAnswer(const std::vector<std::string>& arguments, const std::string& part) {
    return WaitFor([&] { return AskOnce(arguments, NORVAD_DAEMON).find(part) != std::string::npos; });
}

}  // namespace norvad::test
