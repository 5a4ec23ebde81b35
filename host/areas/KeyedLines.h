// Kernel files of a key and a number on every line, such as /proc/meminfo and /proc/vmstat.
//
// Kernels write their lines in an order that lasts. After each key the reader remembers which one followed it, so that
// in steady state no key is looked for.
#pragma once

#include "host/Rows.h"
#include "host/Schema.h"
#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

namespace zel {

template<class Row> struct KeyedEntry {
    std::string_view key;
    Count Row::*member;
};

/// The number of a line.
struct KeyedNumber {
    Count value;
    bool isBytes = false;
};

/// Keys that no table knows are rows, up to this many of one file and this long.
inline constexpr std::size_t OTHER_KEYS_LIMIT = 256;
inline constexpr std::size_t OTHER_KEY_LENGTH = 64;

/// The row of such a key; null when there are enough, or the key is none.
template<class Other> Other *otherOf(Rows<Other> &rows, std::string_view key) {
    if (rows.size() == OTHER_KEYS_LIMIT || key.size() > OTHER_KEY_LENGTH)
        return nullptr;
    Other &row = rows.append();
    row.key = key;
    return &row;
}

/// What the lines of a file were.
struct KeyedLineCounts {
    std::uint64_t known = 0;     // with a key of the table
    std::uint64_t unknown = 0;   // with another one
    std::uint64_t malformed = 0; // with a key and no number
};

template<class Row> class KeyedLines {
public:
    /// `ending` is the character behind a key, `leadingWords` how many words each line has before it.
    KeyedLines(std::span<const KeyedEntry<Row>> entries, char ending, int leadingWords = 0)
        : m_ending(ending), m_leadingWords(leadingWords), m_entries(entries.begin(), entries.end()),
          m_followers(entries.size() + 1, 0) {
        std::sort(m_entries.begin(), m_entries.end(),
                  [](const auto &left, const auto &right) { return left.key < right.key; });
    }

    /// Takes the values of the lines that have a key; a number followed by "kB" counts bytes.
    KeyedLineCounts parse(const char *line, Row &row) {
        return parse(line, row, [](std::string_view, const KeyedNumber &) {});
    }
    /// The same; `takeOther` gets the key and the number of the lines that the table does not know.
    template<class TakeOther> KeyedLineCounts parse(const char *line, Row &row, TakeOther &&takeOther) {
        KeyedLineCounts counts;
        std::size_t follower = m_entries.size(); // of no key: the first line
        for (; *line != '\0'; line = nextLine(line)) {
            const char *cursor = line;
            for (int word = 0; word < m_leadingWords; ++word)
                takeWord(cursor);
            const std::string_view key = keyAt(cursor);
            if (key.empty())
                continue;
            const std::size_t place = placeOf(key, m_followers[follower]);
            if (place == m_entries.size()) {
                ++counts.unknown;
                const KeyedNumber number = numberAt(cursor);
                counts.malformed += number.value ? 0 : 1;
                takeOther(key, number);
                continue;
            }
            m_followers[follower] = place;
            follower = place;
            Count &value = row.*m_entries[place].member;
            value = numberAt(cursor).value;
            ++(value ? counts.known : counts.malformed);
        }
        return counts;
    }

    /// Takes the values of all members that have a key away.
    void forget(Row &row, Absence reason) const {
        for (const KeyedEntry<Row> &entry : m_entries)
            row.*entry.member = reason;
    }

private:
    static constexpr std::uint64_t BYTES_PER_KILOBYTE = 1024;

    // The cursor moves behind the ending.
    std::string_view keyAt(const char *&cursor) const {
        const char *start = skipSpaces(cursor);
        cursor = start;
        while (*cursor != m_ending && !endsWord(*cursor))
            ++cursor;
        const std::string_view key(start, static_cast<std::size_t>(cursor - start));
        cursor += *cursor == m_ending ? 1 : 0;
        return key;
    }

    // The entry of a key; the number of entries for one that is not known.
    std::size_t placeOf(std::string_view key, std::size_t likely) const {
        if (likely < m_entries.size() && m_entries[likely].key == key)
            return likely;
        const auto found = std::lower_bound(m_entries.begin(), m_entries.end(), key,
                                            [](const auto &entry, std::string_view text) { return entry.key < text; });
        const bool known = found != m_entries.end() && found->key == key;
        return known ? static_cast<std::size_t>(found - m_entries.begin()) : m_entries.size();
    }

    // Sample: 24684092 kB
    static KeyedNumber numberAt(const char *cursor) {
        const Count value = takeCount(cursor);
        cursor = skipSpaces(cursor);
        const bool isBytes = value && cursor[0] == 'k' && cursor[1] == 'B';
        return {isBytes ? scaledCount(value, BYTES_PER_KILOBYTE) : value, isBytes};
    }

    char m_ending;
    int m_leadingWords;
    std::vector<KeyedEntry<Row>> m_entries; // in the order of the keys
    std::vector<std::size_t> m_followers;   // by entry, which one came after it; the last is that of the first line
};

} // namespace zel
