#pragma once

#include <string>
#include <vector>

#include "tests/support/system/peer_queue.h"
#include "tests/support/system/process.h"

namespace norvad::test {

inline constexpr const char* requestQueue = "/norvad.mq";
inline constexpr const char* replyQueue = "/norvad.mqu";
inline constexpr const char* replyQueueExists = "[Switch] creating response message queue failed: File exists\n";

enum ControlType : uint32_t { controlCommand = 0, controlNotification = 1, controlUnknown = 2 };

// A message of the control channel, 2124 bytes, laid out without the daemon's own code.
Bytes ControlRequest(ControlType type, const std::string& text, const std::string& replyTo = replyQueue);

inline constexpr long controlMessageSize = 2124;
inline constexpr size_t controlTypeAt = 64;
inline constexpr size_t controlLastAt = 72;
inline constexpr size_t controlTextAt = 73;

// The text in a message of the daemon, which is NUL-terminated.
std::string ControlText(const Bytes& message);

// Records that process as the running daemon, as an operator does for one in the foreground.
void RecordDaemon(pid_t id);

// Returns when the daemon has done with every request that was sent before.
bool WaitUntilServed();

// Starts the program again and again with those arguments until the running daemon's answer comes: a client waits 10 ms
// only, and less than that at the end of a second. Any other outcome than an answer or none fails the test.
std::string Ask(const std::vector<std::string>& arguments, const std::string& program = NORVAD_DAEMON);

// The same until the answer contains part; false when none does.
bool WaitForAnswer(const std::vector<std::string>& arguments, const std::string& part);

}  // namespace norvad::test
