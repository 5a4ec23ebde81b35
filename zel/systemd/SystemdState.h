// What systemd says about its units, as plain values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// Every unit has a series of each; "reloading" and others are only counted.
inline constexpr std::array<std::string_view, 5> SYSTEMD_STATES{"activating", "active", "deactivating", "failed",
                                                                "inactive"};
inline constexpr std::size_t SYSTEMD_UNITS_AT_MOST = 4096;     // that are shown one by one
inline constexpr std::size_t SYSTEMD_OTHER_STATES_AT_MOST = 8; // beside those that every unit may have

struct SystemdUnit {
    enum class Kind : unsigned char { Other, Service, Socket, Timer };
    Kind kind = Kind::Other;
    std::string name;
    std::string path;        // of its object on the bus
    std::string activeState; // active, failed...
    std::string serviceType; // of a service: simple, oneshot...

    std::optional<std::uint64_t> lastTriggerMicroseconds;    // of a timer, since 1970; 0: never
    std::optional<std::uint64_t> accepted, current, refused; // connections of a socket
};

struct SystemdState {
    std::string version;                                     // "252.39-1~deb12u2"; empty: not known
    std::string systemState;                                 // running, degraded...; empty: not known
    std::map<std::string, std::uint64_t, std::less<>> units; // all units, by their active state
    std::vector<SystemdUnit> shown;
    std::size_t leftOut = 0; // that would be shown too, but for the limit
};

/// By the ending of its name.
SystemdUnit::Kind systemdUnitKind(std::string_view name);

/// Whether a unit is shown one by one: one that is loaded and no automount, device, mount, scope, slice or target.
bool isShownUnit(std::string_view name, std::string_view loadState);

/// The first number of a version: 252.39 of "252.39-1~deb12u2". None: there is no digit.
std::optional<double> systemdVersionNumber(std::string_view version);

/// Counts a unit in its state.
void countSystemdUnit(std::string_view activeState, SystemdState &state);

} // namespace zel
