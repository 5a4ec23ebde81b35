// Runs a test body in a child process that has a mount table of its own, so that it may mount small or read-only file
// systems without touching the machine.
#pragma once

#include <functional>
#include <string>

/// Runs `body` in the child. Its failed expectations are printed there and fail the calling test. Returns the reason
/// why it could not be run (no right to make a mount namespace), or an empty text.
std::string withPrivateMounts(const std::function<void()> &body);

/// Inside the body: mounts a memory file system of `kilobytes` at the directory.
bool mountSmall(const std::string &directory, int kilobytes);
/// Nothing can be created or opened for writing there any more.
bool remountReadOnly(const std::string &directory);
