// The tokenisers, tests and comparisons of NStringLib.h.
#include "NStringLib.h"

#include "text/AsciiText.h"

#include <cstring>
#include <string_view>

namespace {

bool isSign(char c) {
    return c == '+' || c == '-';
}

// One number of a dotted identifier, of any length.
struct IdentifierPart {
    bool negative;
    std::string_view digits; // without leading zeros: empty for 0
};

// "311" of "1.3.6.1.4.1.311.2": the decimal integer at `text`, which ends before the first character that is no digit.
IdentifierPart readPart(const char *text) {
    text += std::strspn(text, " \t\n\v\f\r");
    const bool minus = *text == '-';
    if (isSign(*text))
        ++text;
    text += std::strspn(text, "0");
    std::size_t length = 0;
    while (zel::isAsciiDigit(text[length]))
        ++length;
    return {minus && length > 0, {text, length}};
}

int compareMagnitudes(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    const int order = a.compare(b);
    return order == 0 ? 0 : (order < 0 ? -1 : 1);
}

int compareParts(const IdentifierPart &a, const IdentifierPart &b) {
    if (a.negative != b.negative)
        return a.negative ? -1 : 1;
    return a.negative ? compareMagnitudes(b.digits, a.digits) : compareMagnitudes(a.digits, b.digits);
}

// The text after the run of dots that ends `part`; null after the last part.
const char *nextPart(const char *part) {
    const char *dot = std::strchr(part, '.');
    return dot == nullptr ? nullptr : dot + std::strspn(dot, ".");
}

} // namespace

char *Nstrtok(char *text, const char *delimiters, char **save) {
    char *token = text != nullptr ? text : *save;
    if (token == nullptr)
        return nullptr;
    char *end = token + std::strcspn(token, delimiters);
    if (*end == '\0') {
        *save = nullptr;
        return token;
    }
    while (*end != '\0' && std::strchr(delimiters, *end) != nullptr)
        *end++ = '\0';
    *save = end;
    return token;
}

char *Nstrstrtok(char *text, const char *separator, char **save) {
    char *token = text != nullptr ? text : *save;
    if (token == nullptr)
        return nullptr;
    const std::size_t length = std::strlen(separator);
    char *found = length > 0 ? std::strstr(token, separator) : nullptr;
    if (found == nullptr) {
        *save = nullptr;
        return token;
    }
    std::memset(found, 0, length);
    *save = found + length;
    return token;
}

int Nisdigit(const char *text) {
    if (text == nullptr || *text == '\0')
        return 0;
    if (isSign(*text))
        ++text;
    while (zel::isAsciiDigit(*text))
        ++text;
    return *text == '\0' ? 1 : 0;
}

int NOidCmp(const char *a, const char *b) {
    while (a != nullptr && b != nullptr) {
        const int order = compareParts(readPart(a), readPart(b));
        if (order != 0)
            return order;
        a = nextPart(a);
        b = nextPart(b);
    }
    if (a == nullptr)
        return b == nullptr ? 0 : -1;
    return 1;
}

char *NCutQmark(char *text) {
    char *quoted = std::strchr(text, '"');
    if (quoted == nullptr)
        return text;
    ++quoted;
    char *blank = std::strchr(quoted, ' ');
    if (blank != nullptr)
        *blank = '\0';
    return quoted;
}
