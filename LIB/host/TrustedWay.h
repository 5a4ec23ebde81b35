// The trust rule of the home: which files are taken from it, and which only count as missing.
//
// Scripts are found by paths relative to the working directory, and the agent mostly runs as root. So a file of the
// home is used only when it, every directory on the way to it, the home itself ("../..") and everything above the home
// belong to root or to the effective user and can be written by nobody else. A directory above the home may be written
// by others when it is sticky (/tmp): what root or the user owns in there stays theirs. Links are followed when they
// and what they lead to follow the rule. Once a way is found to be trusted nobody else can change it: what is looked at
// and what is used afterwards is the same.
//
// Every part of the way is looked at through its own descriptor; that takes some ten microseconds. Thread-safe.
#pragma once

#include "host/ScopedHandle.h"

#include <cstddef>

namespace zel {

/// What was found on the way to a file.
struct WayFinding {
    bool exists = false;   // the file can be found by its path
    bool trusted = false;  // the way to it, as far as it exists, follows the rule
    char reason[256] = ""; // why it does not; without control bytes
};

/// Looks at the way to `path` and at what is there.
WayFinding inspectWay(const char *path);

/// Opens the regular file at `path` for reading, on a trusted way only. Invalid with errno set when it is none;
/// whatever is not trusted is missing (ENOENT), and `finding` says why.
ScopedDescriptor openOnTrustedWay(const char *path, WayFinding &finding);

/// What is said of a refusal, with its reason.
inline constexpr const char *REFUSAL_TEXT = "home not trusted, its scripts are not run and their results not read:";

/// True for a refusal of something that exists, once for every reason: it is said once, not with every sample.
bool isWorthSaying(const WayFinding &finding);

} // namespace zel
