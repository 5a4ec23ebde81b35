// The name of a family that is made of a name of the host, such as node_zfs_arc_hits. It has a room of its own, so that
// nothing is allocated.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace zel {

class BuiltName {
public:
    void clear() { m_length = 0; }
    /// Adds a text; what a name of a family cannot hold becomes an underscore.
    BuiltName &add(std::string_view text) {
        for (const char character : text) {
            if (m_length < SIZE)
                m_text[m_length] = isPlain(character) ? character : '_';
            ++m_length;
        }
        return *this;
    }
    /// False when it is too long.
    bool fits() const { return m_length <= SIZE; }
    std::string_view text() const { return {m_text.data(), fits() ? m_length : SIZE}; }

private:
    static constexpr std::size_t SIZE = 256;

    static bool isPlain(char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '_';
    }

    std::array<char, SIZE> m_text{};
    std::size_t m_length = 0; // also of what did not fit
};

} // namespace zel
