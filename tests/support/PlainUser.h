#pragma once
// Running a test as a plain user. Some behaviour can only be seen without the superuser's
// privileges (a read-only folder does not stop root), and CI runs the tests as root. Such a
// test calls `runAsPlainUser()` first: as root it runs the same test again, in a child copy
// of this test program that has given up root for the unprivileged user "nobody" (and so
// gets a temporary home of its own), and reports the child's outcome as its own; when no
// plain user can be had it marks the test skipped and says why. As anyone else it returns
// false and the test goes on in this process.

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/ThisExecutable.h"

namespace quelto::test {

namespace plainuser {
// Marks the running test skipped, saying why in the test's output.
inline void skipBecause(const std::string& why) {
    GTEST_SKIP() << "could not run as a plain user: " << why;
}

// Exit statuses of the child before it runs the test.
inline constexpr int cannotDrop = 120;
inline constexpr int cannotExec = 121;
}  // namespace plainuser

// True when the test has been dealt with here (run as a plain user, or skipped): the caller
// returns at once. False when this process is not root: the caller runs the test itself.
inline bool runAsPlainUser() {
    if (geteuid() != 0) return false;
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(info->test_suite_name()) + "." + info->name();
    const std::string exe = thisExecutable();

    // The unprivileged user: "nobody", or uid and gid 65534 where it has no entry.
    uid_t uid = 65534;
    gid_t gid = 65534;
    if (passwd* nobody = getpwnam("nobody")) {
        uid = nobody->pw_uid;
        gid = nobody->pw_gid;
    }
    if (exe.empty()) {
        plainuser::skipBecause("this test program cannot find itself");
        return true;
    }

    // Everything the child needs is made before fork: after it, only system calls.
    std::string filter = "--gtest_filter=" + name;
    std::string alsoDisabled = "--gtest_also_run_disabled_tests";
    std::string brief = "--gtest_brief=1";
    std::vector<char*> argv = {const_cast<char*>(exe.c_str()), filter.data(), alsoDisabled.data(),
                               brief.data(), nullptr};
    int output[2];
    if (pipe(output) != 0) {
        plainuser::skipBecause(std::string("no pipe (") + std::strerror(errno) + ")");
        return true;
    }
    pid_t pid = fork();
    if (pid < 0) {
        close(output[0]);
        close(output[1]);
        plainuser::skipBecause(std::string("no child process (") + std::strerror(errno) + ")");
        return true;
    }
    if (pid == 0) {
        dup2(output[1], STDOUT_FILENO);
        dup2(output[1], STDERR_FILENO);
        close(output[0]);
        close(output[1]);
        if (setgroups(0, nullptr) != 0 || setgid(gid) != 0 || setuid(uid) != 0 || geteuid() == 0)
            _exit(plainuser::cannotDrop);
        execv(exe.c_str(), argv.data());
        _exit(plainuser::cannotExec);
    }
    close(output[1]);
    std::string text;
    char buffer[4096];
    for (;;) {
        ssize_t n = read(output[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    close(output[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    const std::string who = "uid " + std::to_string(uid);
    if (WIFEXITED(status) && WEXITSTATUS(status) == plainuser::cannotDrop) {
        plainuser::skipBecause("giving up root for " + who + " failed");
        return true;
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == plainuser::cannotExec) {
        plainuser::skipBecause(who + " cannot run " + exe);
        return true;
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
        << "as " << who << ", the test failed:\n"
        << text;
    // The child must really have run it, not found nothing to run.
    EXPECT_NE(text.find("1 test"), std::string::npos) << "as " << who << ":\n" << text;
    std::printf("ran as a plain user (%s) in a child process\n", who.c_str());
    return true;
}

}  // namespace quelto::test
