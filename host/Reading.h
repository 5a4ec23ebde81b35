// Reading: a number (or a text) that the host gave, or the reason why it gave none. No value stands in for a reason:
// not 0, not -1.
#pragma once

#include <string_view>
#include <utility>

namespace zel {

/// Why a reading holds no value.
enum class Absence : unsigned char {
    None,        // it holds one
    NotYet,      // a rate needs another sample: the first one, a new device, a counter that was reset
    Unsupported, // this kernel, driver or device has none
    Denied,      // the rights of this process are not enough
    Vanished,    // the device or process went while it was read
    TimedOut,    // no answer within the deadline
    NotAsked,    // nobody asked for it: a serial number, or what would wake a device
    Malformed    // what stands there is not what belongs there
};

/// "not_yet", "unsupported", "denied", "vanished", "timed_out", "not_asked", "malformed"; "" for
/// None.
std::string_view absenceName(Absence absence);

/// The reason that an error number of a failed read stands for: EACCES and EPERM are denied; ESRCH, ENODEV and ENXIO
/// vanished; ENOENT, ENOTDIR, ELOOP, EOPNOTSUPP, ENOSYS and EINVAL unsupported; ETIMEDOUT and EAGAIN timed out;
/// anything else malformed.
Absence absenceOf(int error);

template<class T> class Reading {
public:
    using Type = T;

    /// Unsupported, until something else is known.
    Reading() = default;
    Reading(T value) : m_value(std::move(value)), m_absence(Absence::None) {}
    Reading(Absence reason) : m_absence(reason) {}

    bool has() const { return m_absence == Absence::None; }
    explicit operator bool() const { return has(); }
    /// Only of a reading that has one.
    const T &value() const { return m_value; }
    const T &operator*() const { return m_value; }
    T valueOr(T other) const { return has() ? m_value : other; }
    /// None when there is a value.
    Absence absence() const { return m_absence; }

    /// Takes a value: for texts, into the memory of the one before.
    template<class Value> void set(const Value &value) {
        m_value = value;
        m_absence = Absence::None;
    }
    /// Takes what another one holds, value or reason, into the same memory.
    void assign(const Reading &other) {
        if (other)
            set(other.m_value);
        else
            clear(other.m_absence);
    }
    /// Forgets the value but keeps its memory.
    void clear(Absence reason) { m_absence = reason; }

private:
    T m_value{};
    Absence m_absence = Absence::Unsupported;
};

} // namespace zel
