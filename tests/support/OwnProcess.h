// For what may end a program by a signal, and for what a program does after fork(): the body runs in a child.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// Fails the test when the process of `body` (a callable) ends by a signal or has a failed expectation.
#define EXPECT_SURVIVED(body)                                                                                          \
    EXPECT_EXIT((body(), _exit(testing::Test::HasFailure() ? 1 : 0)), testing::ExitedWithCode(0), "")

/// No file of this process grows beyond so many bytes from here on; RLIM_INFINITY: as large as it likes.
inline void limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

/// True when `check` gives true in the child of a fork, within twenty seconds.
template<typename Check> bool trueInChild(Check check) {
    constexpr unsigned limit = 20; // seconds, for a child that would wait for ever
    const pid_t child = fork();
    if (child == 0) {
        alarm(limit);
        _exit(check() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    return status == 0;
}

#ifdef __SANITIZE_THREAD__
#define SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED()                                                                            \
    GTEST_SKIP() << "ThreadSanitizer follows neither held locks nor new threads into the child of a fork"
#else
#define SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED() static_cast<void>(0)
#endif
