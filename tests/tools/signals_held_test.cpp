// SPDX-License-Identifier: MIT
#include "common/signals_held.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kFinished = 42;

/// How a process ends that holds signals, is sent one, and finds `expected` waiting.
int status_after(int signal, const char *expected) {
    const pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);  // TSTP stops nobody in an orphaned group
        {
            const dfd_tools::SignalsHeld held;
            raise(signal);
            if (held.waiting() != expected) {
                _exit(1);
            }
        }
        _exit(kFinished);
    }
    int status = 0;
    waitpid(child, &status, WUNTRACED);
    if (WIFSTOPPED(status)) {
        kill(child, SIGKILL);
        int ignored = 0;
        waitpid(child, &ignored, 0);
    }
    return status;
}

TEST(SignalsHeld, TheyWaitUntilItsEndAndThenTakeEffect) {
    for (const auto &[signal, name] :
         {std::pair(SIGINT, "INT"), std::pair(SIGTERM, "TERM"), std::pair(SIGHUP, "HUP"),
          std::pair(SIGQUIT, "QUIT"), std::pair(SIGPIPE, "PIPE")}) {
        const int status = status_after(signal, name);
        ASSERT_TRUE(WIFSIGNALED(status)) << name << ": it waited, and its name was told";
        EXPECT_EQ(WTERMSIG(status), signal);
    }
    EXPECT_TRUE(WIFSTOPPED(status_after(SIGTSTP, "TSTP")));
    const int others = status_after(SIGURG, "");
    EXPECT_EQ(WEXITSTATUS(others), kFinished);
}

}  // namespace
