// A /proc/stat text from the counters of its processor lines.
#pragma once

#include <string>
#include <vector>

/// user nice system idle iowait ...
using StatLine = std::vector<unsigned long long>;

/// The first line is the machine, the others are its processors. `rest` follows them.
inline std::string statText(const std::vector<StatLine> &lines,
                            const std::string &rest = "intr 1000 1 2 3\nctxt 5000\nbtime 1700000000\n") {
    std::string text;
    for (std::size_t number = 0; number < lines.size(); ++number) {
        text += number == 0 ? "cpu " : "cpu" + std::to_string(number - 1);
        for (const unsigned long long ticks : lines[number])
            text += " " + std::to_string(ticks);
        text += "\n";
    }
    return text + rest;
}
