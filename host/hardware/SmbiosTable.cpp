// Takes the tables of the firmware apart.
#include "host/hardware/SmbiosTable.h"

#include "host/source/AttributeText.h"

#include <numeric>

namespace zel {

namespace {

constexpr unsigned endOfTable = 127;
constexpr std::size_t headSize = 4; // type, length, handle

std::uint64_t littleEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t at = bytes.size(); at > 0; --at)
        value = value << 8 | static_cast<unsigned char>(bytes[at - 1]);
    return value;
}

// The bytes of an entry point or a part of it add up to 0.
bool addsUp(std::string_view bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), 0U,
                           [](unsigned sum, char byte) { return sum + static_cast<unsigned char>(byte); }) %
               256 ==
           0;
}

// "_SM3_", checksum, length, major, minor, revision, form, reserved, length of the table (4), its address (8)
std::optional<SmbiosEntry> parseLongForm(std::string_view bytes) {
    constexpr std::size_t leastSize = 24;
    const std::size_t size = static_cast<unsigned char>(bytes[6]);
    if (size < leastSize || size > bytes.size() || !addsUp(bytes.substr(0, size)))
        return std::nullopt;
    return SmbiosEntry{static_cast<unsigned char>(bytes[7]), static_cast<unsigned char>(bytes[8]),
                       littleEndian(bytes.substr(12, 4))};
}

// "_DMI_", checksum, length of the table (2), its address (4), number of structures (2), revision in decimal digits
std::optional<SmbiosEntry> parseInnerForm(std::string_view bytes) {
    constexpr std::size_t size = 15;
    if (bytes.size() < size || !bytes.starts_with("_DMI_") || !addsUp(bytes.substr(0, size)))
        return std::nullopt;
    const auto revision = static_cast<unsigned char>(bytes[14]);
    return SmbiosEntry{revision / 16U, revision % 16U, littleEndian(bytes.substr(6, 2))};
}

// "_SM_", checksum, length, major, minor, longest structure (2), form, 5 reserved; then the inner form
std::optional<SmbiosEntry> parseShortForm(std::string_view bytes) {
    constexpr std::size_t leastSize = 30; // that 2.1 names by mistake: it is 31
    constexpr std::size_t innerForm = 16;
    const std::size_t size = static_cast<unsigned char>(bytes[5]);
    if (size < leastSize || size > bytes.size() || !addsUp(bytes.substr(0, size)))
        return std::nullopt;
    std::optional<SmbiosEntry> entry = parseInnerForm(bytes.substr(innerForm));
    if (entry) {
        entry->major = static_cast<unsigned char>(bytes[6]);
        entry->minor = static_cast<unsigned char>(bytes[7]);
    }
    return entry;
}

} // namespace

std::optional<SmbiosEntry> parseSmbiosEntry(std::string_view bytes) {
    constexpr std::size_t anchorAndLength = 8;
    if (bytes.size() < anchorAndLength)
        return std::nullopt;
    if (bytes.starts_with("_SM3_"))
        return parseLongForm(bytes);
    if (bytes.starts_with("_SM_"))
        return parseShortForm(bytes);
    return parseInnerForm(bytes);
}

Count SmbiosStructure::number(std::size_t at, std::size_t size) const {
    if (at + size > m_formatted.size())
        return Absence::Unsupported;
    return littleEndian(m_formatted.substr(at, size));
}

void SmbiosStructure::text(std::size_t at, Reading<std::string> &reading) const {
    const Count wanted = byte(at);
    if (!wanted || *wanted == 0)
        return reading.clear(Absence::Unsupported);
    std::string_view rest = m_strings;
    for (std::uint64_t place = 1; place < *wanted && !rest.empty(); ++place) {
        const std::size_t end = rest.find('\0');
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    if (rest.empty())
        return reading.clear(Absence::Malformed);
    takeAttributeText(rest.substr(0, rest.find('\0')), reading);
}

std::optional<SmbiosStructure> SmbiosWalk::stop(bool whole) {
    m_rest = {};
    m_whole = m_whole && whole;
    return std::nullopt;
}

// A structure is its formatted bytes, as many as its second byte says, and texts that are terminated each; behind the
// last one is another terminator. Without texts there are two of them.
std::optional<SmbiosStructure> SmbiosWalk::next() {
    if (m_rest.empty())
        return stop(true);
    if (m_rest.size() < headSize || m_count == SMBIOS_STRUCTURES_AT_MOST)
        return stop(false);
    const std::size_t length = static_cast<unsigned char>(m_rest[1]);
    if (length < headSize || length > m_rest.size())
        return stop(false);
    if (static_cast<unsigned char>(m_rest[0]) == endOfTable)
        return stop(true);
    const std::size_t end = m_rest.find(std::string_view("\0\0", 2), length);
    if (end == std::string_view::npos)
        return stop(false);
    const SmbiosStructure structure(m_rest.substr(0, length), m_rest.substr(length, end - length));
    m_rest.remove_prefix(end + 2);
    ++m_count;
    return structure;
}

} // namespace zel
