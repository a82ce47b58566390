#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>

namespace norvad::test {

// Enters a network and message queues of the process's own, where it is root, whoever it is outside.
inline void EnterPrivateNamespace() {
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    ASSERT_EQ(::unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWIPC), 0);
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    ASSERT_EQ(::geteuid(), 0U);
}

// Runs body in a child process in a private namespace. What body expects in vain fails the test; a body that hangs
// is killed.
template <typename Body>
void InPrivateNamespace(Body body) {
    constexpr unsigned limitSeconds = 20;
    std::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::alarm(limitSeconds);
        try {
            EnterPrivateNamespace();
            if (!testing::Test::HasFailure()) body();
        } catch (const std::exception& failure) {
            ADD_FAILURE() << failure.what();
        }
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "in the private namespace";
}

// Runs ip from iproute2.
inline void Ip(const std::string& arguments) {
    const std::string command = "ip " + arguments;
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

}  // namespace norvad::test
