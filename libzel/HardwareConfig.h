// What the hardware readers share: devices that have a model name, and the sizes of their texts.
#pragma once

#include <cstddef>
#include <cstring>

namespace zel {

inline constexpr std::size_t HARDWARE_PATH_SIZE = 512;

/// A device that has a model name.
template<std::size_t SIZE> class ModelNamed {
public:
    char *ModelName() { return m_cpModelName; }
    /// Sets the name, cut to its field, and returns the field.
    char *ModelName(const char *name) {
        return std::strncpy(m_cpModelName, name, SIZE - 1); // the last byte is always the terminator
    }

    char m_cpModelName[SIZE] = {};
};

} // namespace zel
