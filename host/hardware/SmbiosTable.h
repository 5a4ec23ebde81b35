// The tables that the firmware left in memory for the operating system (System Management BIOS, DSP0134): entry point
// and structures. Plain functions over bytes; nothing that they say of themselves is believed.
//
//   const std::optional<SmbiosEntry> entry = parseSmbiosEntry(bytes of smbios_entry_point);
//   SmbiosWalk walk(bytes of DMI, entry->tableLength);
//   while (const std::optional<SmbiosStructure> structure = walk.next())
//       if (structure->type() == 17) ... structure->word(0x0C) ...
#pragma once

#include "host/Schema.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zel {

/// No table is believed to be longer, nor to have more structures: a structure's handle has 16 bits.
inline constexpr std::size_t SMBIOS_TABLE_LIMIT = std::size_t{4} * 1024 * 1024;
inline constexpr std::size_t SMBIOS_STRUCTURES_AT_MOST = 65536;

/// What the entry point says.
struct SmbiosEntry {
    unsigned major = 0, minor = 0; // of the SMBIOS version that the table follows
    std::uint64_t tableLength = 0; // an upper limit in the 64-bit form
};

/// An entry point in the 64-bit form ("_SM3_"), the 32-bit form ("_SM_"), or the form of before 2.1 ("_DMI_"). None
/// when it is cut or a checksum is wrong.
std::optional<SmbiosEntry> parseSmbiosEntry(std::string_view bytes);

/// One structure: its formatted bytes, and the texts behind them. It refers to the table.
class SmbiosStructure {
public:
    SmbiosStructure(std::string_view formatted, std::string_view strings)
        : m_formatted(formatted), m_strings(strings) {}

    unsigned type() const { return static_cast<unsigned>(number(0, 1).valueOr(0)); }
    unsigned handle() const { return static_cast<unsigned>(number(2, 2).valueOr(0)); }

    /// A field of the structure; unsupported beyond its end, for older tables have fewer of them.
    Count byte(std::size_t at) const { return number(at, 1); }
    Count word(std::size_t at) const { return number(at, 2); }
    Count doubleWord(std::size_t at) const { return number(at, 4); }
    Count quadWord(std::size_t at) const { return number(at, 8); }
    /// Takes the text whose number is at `at`, without the blanks around it: number 0 and an empty text are
    /// unsupported, a number that the structure has no text for is malformed.
    void text(std::size_t at, Reading<std::string> &reading) const;

private:
    Count number(std::size_t at, std::size_t size) const;

    std::string_view m_formatted, m_strings;
};

/// The structures of a table, one by one, up to the first that cannot be one.
class SmbiosWalk {
public:
    /// What is beyond `length`, as the entry point says it, does not belong to the table.
    SmbiosWalk(std::string_view table, std::uint64_t length) : m_rest(table.substr(0, length)) {}

    /// The next structure; none at the end of the table.
    std::optional<SmbiosStructure> next();
    /// After the last one: whether the table ended as a table ends. If not, what followed is lost.
    bool whole() const { return m_whole; }

private:
    std::optional<SmbiosStructure> stop(bool whole);

    std::string_view m_rest;
    std::size_t m_count = 0;
    bool m_whole = true;
};

} // namespace zel
