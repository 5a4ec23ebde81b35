// Kernel files of a key and a number on every line, such as /proc/meminfo and /proc/vmstat.
//
// Kernels write their lines in an order that lasts, so the place that a line had in the sample before is tried first:
// in steady state no key is looked for.
#pragma once

#include "host/Schema.h"
#include "host/source/SourceFile.h"
#include "text/NumberScan.h"

#include <span>
#include <string_view>
#include <vector>

namespace zel {

template<class Row> struct KeyedEntry {
    std::string_view key;
    Count Row::*member;
};

template<class Row> class KeyedLines {
public:
    explicit KeyedLines(std::span<const KeyedEntry<Row>> entries) : m_entries(entries) {}

    /// Takes the values of the lines of `text` that have a key; a number followed by "kB" counts bytes. A line with a
    /// key and no number is malformed. `ending` is the character behind a key, `skip` how many words lead each line.
    void parse(const char *text, char ending, Row &row, int skip = 0) {
        std::size_t line = 0;
        for (; *text != '\0'; text = nextLine(text), ++line) {
            const char *key = skipBlanks(text);
            for (int word = 0; word < skip; ++word) {
                skipWord(key);
                key = skipBlanks(key);
            }
            if (line == m_places.size())
                m_places.push_back(0);
            const std::size_t place = placeOf(key, ending, line);
            if (place < m_entries.size())
                row.*m_entries[place].member = valueAt(key + m_entries[place].key.size() + 1);
        }
    }

private:
    static constexpr std::uint64_t BYTES_PER_KILOBYTE = 1024;

    bool isAt(std::size_t place, const char *text, char ending) const {
        const std::string_view key = m_entries[place].key;
        return std::strncmp(text, key.data(), key.size()) == 0 && text[key.size()] == ending;
    }

    // The entry of a line; the number of entries for a key that is not known.
    std::size_t placeOf(const char *text, char ending, std::size_t line) {
        std::size_t &place = m_places[line];
        if (place < m_entries.size() && isAt(place, text, ending))
            return place;
        for (std::size_t each = 0; each < m_entries.size(); ++each) {
            if (isAt(each, text, ending))
                return place = each;
        }
        return m_entries.size();
    }

    // Sample: 24684092 kB
    static Count valueAt(const char *cursor) {
        unsigned long long value = 0;
        if (*skipBlanks(cursor) == '-' || !scanUnsigned(cursor, value))
            return Absence::Malformed;
        cursor = skipBlanks(cursor);
        return cursor[0] == 'k' && cursor[1] == 'B' ? value * BYTES_PER_KILOBYTE : value;
    }

    std::span<const KeyedEntry<Row>> m_entries;
    std::vector<std::size_t> m_places; // by line
};

} // namespace zel
