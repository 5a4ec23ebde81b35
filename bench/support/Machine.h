// What a figure depends on, for the head of every output: machine, kernel, compiler, flags, load.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bench {

/// Name and value, in the order in which they are printed.
std::vector<std::pair<std::string, std::string>> machineFacts();

/// The load averages as the kernel prints them.
std::string loadAverages();

/// Resident memory of this process.
double residentMebibytes();

} // namespace bench
