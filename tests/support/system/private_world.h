#pragma once

#include <string>
#include <vector>

namespace norvad::test {

// Turns the calling process, which must still have a single thread, into the first process of private namespaces:
// user (unless the caller may do without), network, IPC, mount and process ids. In there /tmp and /run are empty,
// /dev holds the harmless nodes only and is writable, and /proc shows this world's processes. The directories in
// kept stay where they are even below /tmp. Everything that runs inside dies with the calling process.
//
// Returns in the new first process only; the original one waits for it and ends with its exit status. When the
// machine grants no namespaces the reason goes to standard error and the process ends with status 2.
void EnterPrivateWorld(const std::vector<std::string>& kept);

// Gives the calling thread and its later children a network and an IPC namespace without any history.
void StartFreshNetwork();

// Removes everything in /tmp but the directories that EnterPrivateWorld was told to keep.
void EmptyTemporaryDirectory();

// Makes path show content within this world only.
void ReplaceFile(const std::string& path, const std::string& content);

}  // namespace norvad::test
