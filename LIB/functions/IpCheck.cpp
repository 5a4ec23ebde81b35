// The two IPv4 text checks of NGFunctions.h.
#include "NGFunctions.h"
#include "text/AsciiText.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t longestAddress = 15;
constexpr long highestPart = 255;
constexpr int dotsOfAddress = 3;

// "192" of "192.168.0.1": the number at `part`, which ends at a dot or at the end of the text.
bool acceptablePart(const char *part) {
    constexpr int inspected = 3;
    for (int i = 0; i < inspected && part[i] != '\0' && part[i] != '.'; ++i)
        if (zel::isAsciiLetter(part[i]))
            return false;
    return std::strtol(part, nullptr, 10) <= highestPart;
}

} // namespace

int fgIPCheck(const char *text) {
    if (text == nullptr || strnlen(text, longestAddress + 1) > longestAddress)
        return 0;
    int dots = 0;
    for (const char *part = text;; ++part) {
        if (!acceptablePart(part))
            return 0;
        part = std::strchr(part, '.');
        if (part == nullptr)
            return dots == dotsOfAddress ? 1 : 0;
        ++dots;
    }
}

int fgIPVaildCheck(const char *text) {
    constexpr int mostDigits = 4;
    if (text == nullptr)
        return 0;
    int dots = 0, digits = 0, number = 0;
    for (; *text != '\0'; ++text) {
        if (*text == '.') {
            if (number > highestPart || ++dots > dotsOfAddress)
                return 0;
            digits = number = 0;
        } else if (zel::isAsciiDigit(*text) && ++digits <= mostDigits) {
            number = number * 10 + (*text - '0');
        } else {
            return 0;
        }
    }
    return dots == dotsOfAddress && digits > 0 && number <= highestPart ? 1 : 0;
}
