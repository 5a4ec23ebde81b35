// A file of a host whose hardware a test writes that does not answer.
#pragma once

#include "FuseMounts.h"
#include "HardwareHost.h"
#include "PrivateMounts.h"
#include "threads/BoundedCall.h"

#include <chrono>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>

/// Calls body with a server in the place of a file of `host`, which is silent meanwhile. Skips the test where no such
/// server can be had.
inline void withSilentFile(const HardwareHost &host, const std::string &file, const std::function<void()> &body) {
    const std::string reason = withPrivateMounts([&] {
        const FuseMounts mounts({host.path(file)});
        if (!mounts.work()) {
            std::puts("no FUSE here: nothing was tested");
            return;
        }
        mounts.stop();
        body();
        mounts.resume();
        while (zel::boundedCallsRunning() != 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}
