// The target of a request, "/api/v1/sample?areas=cpu,disks", taken apart: pure functions over what a client sent.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

inline constexpr std::size_t PARAMETERS_AT_MOST = 32;

struct Parameter {
    std::string name, value;
};

struct Target {
    std::string authority; // of a target that names one, "http://host:9100/metrics"; it takes the place of Host
    bool hasAuthority = false;
    std::string path; // decoded
    std::vector<Parameter> parameters;
    std::string problem; // what is wrong with it; empty when nothing is
};

/// Percent signs are decoded once, in the path and in names and values; a plus is a blank in parameters. A byte that
/// is no printable ASCII, as it is or decoded, is refused: no path and no parameter of ours has one.
Target readTarget(std::string_view text);

/// What a client sent, for a message: printable ASCII alone, cut where it is long.
std::string quotedForClient(std::string_view text);

} // namespace zel
