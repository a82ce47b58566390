#pragma once

namespace norvad::test {

// Takes the calling process, which must still have a single thread, into namespaces of its own, where it is root
// whoever it is outside: those in kinds (CLONE_NEWNET and the like), and one of users unless root may do without.
// Throws std::system_error when the machine grants none.
void EnterNamespaces(int kinds);

// In a mount namespace of the process's own: what is mounted from here on stays in it.
void KeepMountsPrivate();

// Puts an empty file system over path; options are its own, such as "mode=1777".
void MountEmpty(const char* path, const char* options);

}  // namespace norvad::test
