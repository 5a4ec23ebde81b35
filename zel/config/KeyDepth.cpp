// Counts the dots of keys, looks for characters in wrong places.
#include "zel/config/KeyDepth.h"

#include <algorithm>

namespace zel {

namespace {

bool isBeyondAscii(char letter) {
    return static_cast<unsigned char>(letter) > 0x7f;
}

// Walks over a text from one piece to the next: a comment, a text in quotes, or one character of anything else.
class Walk {
public:
    explicit Walk(std::string_view text) : m_rest(text) {}

    bool atEnd() const { return m_rest.empty(); }
    std::size_t line() const { return m_line; }
    bool hasStrayEscape() const { return m_hasStrayEscape; }

    /// The first character of the piece.
    char next() {
        const char first = m_rest.front();
        if (first == '#')
            skip(std::min(m_rest.find('\n'), m_rest.size()));
        else if (first == '"' || first == '\'')
            skipQuoted(first);
        else
            skip(1);
        return first;
    }

private:
    void skip(std::size_t count) {
        for (const char passed : m_rest.substr(0, count))
            m_line += passed == '\n' ? 1 : 0;
        m_rest.remove_prefix(count);
    }
    // A backslash escapes in "texts", not in 'texts'; three quotes begin a text of several lines.
    void skipQuoted(char quote) {
        const char end[] = {quote, quote, quote, '\0'};
        const std::string_view three(end, 3);
        const std::string_view closing = m_rest.starts_with(three) ? three : three.substr(2);
        std::size_t at = closing.size();
        while (at < m_rest.size() && m_rest.substr(at, closing.size()) != closing) {
            const bool isOneLine = closing.size() == 1;
            if (isOneLine && m_rest[at] == '\n')
                return skip(at);
            const bool isEscape = quote == '"' && m_rest[at] == '\\';
            m_hasStrayEscape =
                m_hasStrayEscape || (isEscape && at + 1 < m_rest.size() && isBeyondAscii(m_rest[at + 1]));
            at += isEscape ? 2 : 1;
        }
        skip(std::min(at + closing.size(), m_rest.size()));
    }

    std::string_view m_rest;
    std::size_t m_line = 1;
    bool m_hasStrayEscape = false;
};

} // namespace

std::size_t lineOfDeepKey(std::string_view text, std::size_t most) {
    constexpr std::string_view ends = "\n=,[]{}"; // of a key; a number has one dot at most
    std::size_t dots = 0;
    for (Walk walk(text); !walk.atEnd();) {
        const std::size_t line = walk.line();
        const char first = walk.next();
        if (ends.find(first) != std::string_view::npos)
            dots = 0;
        dots += first == '.' ? 1 : 0;
        if (dots >= most)
            return line;
    }
    return 0;
}

std::size_t lineOfStrayCharacter(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    for (Walk walk(text); !walk.atEnd();) {
        const std::size_t line = walk.line();
        if (isBeyondAscii(walk.next()) || walk.hasStrayEscape())
            return line;
    }
    return 0;
}

} // namespace zel
