// Durations on the command line: "500ms", "1s", "2m", "1h".
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace zel {

struct ReadDuration {
    std::chrono::milliseconds value{};
    std::string problem; // what is wrong and what would be right; empty when nothing is
};

/// A duration between the two limits.
ReadDuration readDuration(std::string_view text, std::chrono::milliseconds least, std::chrono::milliseconds most);

/// The shortest text that readDuration() gives the same for.
std::string durationText(std::chrono::milliseconds duration);

} // namespace zel
