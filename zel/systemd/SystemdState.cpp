// Small questions about units, answered without a bus.
#include "zel/systemd/SystemdState.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace zel {

namespace {

constexpr std::array<std::string_view, 6> hiddenEndings{"automount", "device", "mount", "scope", "slice", "target"};
constexpr std::string_view digits = "0123456789";

std::string_view endingOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

} // namespace

SystemdUnit::Kind systemdUnitKind(std::string_view name) {
    const std::string_view ending = endingOf(name);
    if (ending == "service")
        return SystemdUnit::Kind::Service;
    if (ending == "socket")
        return SystemdUnit::Kind::Socket;
    return ending == "timer" ? SystemdUnit::Kind::Timer : SystemdUnit::Kind::Other;
}

bool isShownUnit(std::string_view name, std::string_view loadState) {
    return loadState == "loaded" && !name.empty() &&
           std::find(hiddenEndings.begin(), hiddenEndings.end(), endingOf(name)) == hiddenEndings.end();
}

std::optional<double> systemdVersionNumber(std::string_view version) {
    const std::size_t begin = version.find_first_of(digits);
    if (begin == std::string_view::npos)
        return std::nullopt;
    std::size_t end = std::min(version.find_first_not_of(digits, begin), version.size());
    if (end + 1 < version.size() && version[end] == '.' && digits.find(version[end + 1]) != std::string_view::npos)
        end = std::min(version.find_first_not_of(digits, end + 1), version.size());
    double number = 0;
    const auto [last, error] = std::from_chars(version.data() + begin, version.data() + end, number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

void countSystemdUnit(std::string_view activeState, SystemdState &state) {
    if (state.units.empty()) {
        for (const std::string_view name : SYSTEMD_STATES)
            state.units.emplace(name, 0U);
    }
    const auto place = state.units.find(activeState);
    if (place != state.units.end())
        ++place->second;
    else if (state.units.size() < SYSTEMD_STATES.size() + SYSTEMD_OTHER_STATES_AT_MOST)
        state.units.emplace(activeState, 1U);
}

} // namespace zel
