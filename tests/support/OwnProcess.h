// For what may end a program by a signal: the body runs in a process of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

/// Fails the test when the process of `body` (a callable) ends by a signal or has a failed expectation.
#define EXPECT_SURVIVED(body)                                                                                          \
    EXPECT_EXIT((body(), _exit(testing::Test::HasFailure() ? 1 : 0)), testing::ExitedWithCode(0), "")

/// No file of this process grows beyond so many bytes from here on; RLIM_INFINITY: as large as it likes.
inline void limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}
