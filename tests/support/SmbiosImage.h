// Tables of the firmware as a test builds them: byte by byte, with the entry point that says where they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

/// `size` bytes of a number, the lowest first.
inline std::string littleEndian(std::uint64_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t at = 0; at < size; ++at)
        bytes += static_cast<char>(number >> (8 * at) & 0xFF);
    return bytes;
}

/// The fields of a structure, all 0 until they are set.
class SmbiosFields {
public:
    /// `length` is that of the formatted bytes, as the structure says it.
    SmbiosFields(unsigned type, std::size_t length, unsigned handle)
        : m_bytes(littleEndian(type, 1) + littleEndian(length, 1) + littleEndian(handle, 2)) {
        m_bytes.resize(length);
    }

    SmbiosFields &set(std::size_t at, std::uint64_t number, std::size_t size) {
        m_bytes.replace(at, size, littleEndian(number, size));
        return *this;
    }
    SmbiosFields &byte(std::size_t at, std::uint64_t number) { return set(at, number, 1); }
    SmbiosFields &word(std::size_t at, std::uint64_t number) { return set(at, number, 2); }
    SmbiosFields &doubleWord(std::size_t at, std::uint64_t number) { return set(at, number, 4); }
    SmbiosFields &quadWord(std::size_t at, std::uint64_t number) { return set(at, number, 8); }

    /// With its texts, as it is in a table.
    std::string with(std::initializer_list<const char *> texts) const {
        std::string bytes = m_bytes;
        for (const char *text : texts)
            bytes += std::string(text) + '\0';
        return bytes + (texts.size() == 0 ? std::string(2, '\0') : std::string(1, '\0'));
    }

private:
    std::string m_bytes;
};

/// The structure that ends every table.
inline std::string smbiosEnd() {
    return SmbiosFields(127, 4, 0xFEFF).with({});
}

/// Sets the byte at `place` so that the first `size` bytes from `from` on add up to 0.
inline void setChecksum(std::string &bytes, std::size_t place, std::size_t from, std::size_t size) {
    bytes[place] = 0;
    unsigned sum = 0;
    for (std::size_t at = from; at < from + size; ++at)
        sum += static_cast<unsigned char>(bytes[at]);
    bytes[place] = static_cast<char>((256 - sum % 256) % 256);
}

/// An entry point of the 64-bit form, of SMBIOS 3.3.
inline std::string smbiosEntry64(std::uint64_t tableLength) {
    std::string bytes = std::string("_SM3_") + '\0' + littleEndian(24, 1) + littleEndian(3, 1) + littleEndian(3, 1) +
                        littleEndian(0, 1) + littleEndian(1, 1) + littleEndian(0, 1) + littleEndian(tableLength, 4) +
                        littleEndian(0x12345678, 8);
    setChecksum(bytes, 5, 0, bytes.size());
    return bytes;
}

/// An entry point of the 32-bit form, of SMBIOS 2.8.
inline std::string smbiosEntry32(std::uint64_t tableLength, std::uint64_t structures) {
    std::string inner = std::string("_DMI_") + '\0' + littleEndian(tableLength, 2) + littleEndian(0x12345678, 4) +
                        littleEndian(structures, 2) + littleEndian(0x28, 1);
    setChecksum(inner, 5, 0, inner.size());
    std::string bytes = std::string("_SM_") + '\0' + littleEndian(31, 1) + littleEndian(2, 1) + littleEndian(8, 1) +
                        littleEndian(200, 2) + std::string(6, '\0') + inner;
    setChecksum(bytes, 4, 0, bytes.size());
    return bytes;
}
