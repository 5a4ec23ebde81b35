// Takes the fields of a line as sscanf does, one conversion after the other, without its cost.
//
// Each take skips blanks, consumes what its conversion accepts and stores it, or fails where sscanf stops. A chain of
// takes joined by && is a format, and conversions() is then what sscanf returns for it, but 0 for a line with nothing
// in it.
//
//   "%4d %s %*u %llu"   fields.takeInt(major, 4) && fields.takeWord(name, limit) && fields.skipNumber() &&
//                       fields.takeUnsigned(count)
//
// As in scanf a sign is accepted everywhere, and a number that does not fit 64 bits is saturated, then cut to its
// field.
#pragma once

#include "text/NumberScan.h"

#include <cstddef>
#include <cstring>

namespace zel {

class FieldScanner {
public:
    /// `line` is terminated and outlives the scanner.
    explicit FieldScanner(const char *line) : m_cursor(line) {}

    /// Fields stored so far; skipped ones do not count.
    int conversions() const { return m_conversions; }

    /// "%d"
    bool takeInt(int &value) {
        long long number = 0;
        if (!scanSigned(m_cursor, number))
            return false;
        value = static_cast<int>(number);
        return counted();
    }

    /// "%<width>d" with at most 9 characters, of which a sign is one.
    bool takeInt(int &value, int width) {
        const char *text = skipBlanks(m_cursor);
        const bool negative = *text == '-';
        if (negative || *text == '+') {
            ++text;
            --width;
        }
        const char *digits = text;
        unsigned magnitude = 0;
        for (unsigned digit; width > 0 && (digit = digitValue<10>(*text)) <= 9; ++text, --width)
            magnitude = magnitude * 10 + digit;
        if (text == digits)
            return false;
        value = negative ? -static_cast<int>(magnitude) : static_cast<int>(magnitude);
        m_cursor = text;
        return counted();
    }

    /// "%u", "%lu" and "%llu"
    template<typename Unsigned> bool takeUnsigned(Unsigned &value) {
        unsigned long long number = 0;
        if (!scanUnsigned(m_cursor, number))
            return false;
        value = static_cast<Unsigned>(number);
        return counted();
    }

    /// "%*d" and "%*u"
    bool skipNumber() { return zel::skipNumber(m_cursor); }

    /// "%<limit>s": up to `limit` characters into `word`, which has room for one more. What is beyond stays.
    bool takeWord(char *word, std::size_t limit) {
        const char *start = skipBlanks(m_cursor);
        std::size_t length = 0;
        for (; length < limit && isOfWord(start[length]); ++length)
            word[length] = start[length];
        if (length == 0)
            return false;
        word[length] = '\0';
        m_cursor = start + length;
        return counted();
    }

private:
    // Nearly every character is beyond the blanks and the terminator.
    static bool isOfWord(char character) {
        return static_cast<unsigned char>(character) > ' ' || (character != '\0' && !isBlank(character));
    }

    bool counted() {
        ++m_conversions;
        return true;
    }

    const char *m_cursor;
    int m_conversions = 0;
};

} // namespace zel
