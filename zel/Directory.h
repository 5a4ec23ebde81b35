// Whether a path is a directory.
#pragma once

#include <string>

namespace zel {

/// Why it is none, in the words of the system; empty when it is one. Links are followed.
std::string directoryProblem(const std::string &path);

/// The same for the root of another host, with what would be right.
std::string rootProblem(const std::string &path);

} // namespace zel
