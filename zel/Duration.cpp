// Reads and writes durations.
#include "zel/Duration.h"

#include <array>
#include <charconv>
#include <cstdint>

namespace zel {

namespace {

using std::chrono::milliseconds;

struct DurationUnit {
    std::string_view name;
    std::int64_t milliseconds;
};
constexpr std::array<DurationUnit, 4> units{{{"h", 3600000}, {"m", 60000}, {"s", 1000}, {"ms", 1}}};

constexpr std::string_view examples = "a duration is a whole number with its unit, such as 500ms, 1s, 2m or 1h";

std::string limitText(const char *which, milliseconds limit) {
    return std::string(which) + ' ' + durationText(limit);
}

const DurationUnit *unitNamed(std::string_view name) {
    for (const DurationUnit &unit : units) {
        if (unit.name == name)
            return &unit;
    }
    return nullptr;
}

// Proposes seconds only where they would be taken.
std::string missingUnitText(std::string_view text, milliseconds least, milliseconds most) {
    const std::string seconds = std::string(text) + 's';
    const std::string problem = readDuration(seconds, least, most).problem;
    return "the unit is missing; " + (problem.empty() ? "did you mean " + seconds + '?' : problem);
}

} // namespace

std::string durationText(milliseconds duration) {
    for (const DurationUnit &unit : units) {
        if (duration.count() % unit.milliseconds == 0 && duration.count() != 0)
            return std::to_string(duration.count() / unit.milliseconds) + std::string(unit.name);
    }
    return "0s";
}

ReadDuration readDuration(std::string_view text, milliseconds least, milliseconds most) {
    if (text.starts_with('-'))
        return {{}, "a duration is not negative; " + limitText("the least is", least)};
    std::int64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::result_out_of_range)
        return {{}, limitText("the most is", most)};
    if (error != std::errc())
        return {{}, std::string(examples)};
    const std::string_view name(rest, static_cast<std::size_t>(end - rest));
    const DurationUnit *unit = unitNamed(name);
    if (unit == nullptr && name.empty())
        return {{}, missingUnitText(text, least, most)};
    if (unit == nullptr)
        return {{}, std::string(examples)};
    if (number > most.count() / unit->milliseconds)
        return {{}, limitText("the most is", most)};
    const milliseconds value(number * unit->milliseconds);
    if (value < least)
        return {{}, limitText("the least is", least)};
    return {value, {}};
}

} // namespace zel
