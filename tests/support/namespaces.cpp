#include "tests/support/namespaces.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <system_error>

namespace norvad::test {

namespace {

void Require(bool success, const char* step) {
    if (!success) throw std::system_error(errno, std::generic_category(), step);
}

void Write(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    Require(file.good(), path);
}

}  // namespace

void EnterNamespaces(int kinds) {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (user == 0 && ::unshare(kinds) == 0) return;
    Require(::unshare(kinds | CLONE_NEWUSER) == 0, "unshare");
    Write("/proc/self/setgroups", "deny");
    Write("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    Write("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

void KeepMountsPrivate() {
    Require(::mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
}

void MountEmpty(const char* path, const char* options) {
    Require(::mount("tmpfs", path, "tmpfs", MS_NOSUID, options) == 0, path);
}

}  // namespace norvad::test
