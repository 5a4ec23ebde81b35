// Reads the numbers of bcache.
#include "host/areas/BcacheText.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

namespace zel {

namespace {

struct Line {
    std::string_view key;
    Number BcacheBackingDevice::*member;
    bool maybeNegative = false;
};
constexpr Line lines[] = {
    {"rate:", &BcacheBackingDevice::writebackRate},
    {"target:", &BcacheBackingDevice::writebackTargetBytes},
    {"proportional:", &BcacheBackingDevice::writebackProportional, true},
    {"integral:", &BcacheBackingDevice::writebackIntegral, true},
    {"change:", &BcacheBackingDevice::writebackChange, true},
};

bool endsSize(char character) {
    return endsWord(character) || character == '/';
}

} // namespace

Number takeBcacheSize(const char *text) {
    constexpr std::string_view units = "kMGTPEZY";
    constexpr double step = 1024;
    const char *cursor = skipSpaces(text);
    const bool negative = *cursor == '-';
    cursor += negative ? 1 : 0;
    unsigned long long whole = 0;
    if (!scanPlain(cursor, whole))
        return Absence::Malformed;
    double value = static_cast<double>(whole);
    if (*cursor == '.') {
        const unsigned tenth = digitValue<10>(*++cursor);
        if (tenth > 9)
            return Absence::Malformed;
        value += tenth / 10.0;
        ++cursor;
    }
    const std::size_t unit = endsSize(*cursor) ? units.npos : units.find(*cursor);
    if (unit != units.npos) {
        for (std::size_t power = 0; power <= unit; ++power)
            value *= step;
        ++cursor;
    }
    if (!endsSize(*cursor))
        return Absence::Malformed;
    return negative ? -value : value;
}

// Sample: rate:		1.1M/sec
//         dirty:		20.4G
bool parseWriteback(const char *text, BcacheBackingDevice &device) {
    bool whole = true;
    for (const Line &line : lines)
        device.*line.member = Absence::Unsupported;
    for (; *text != '\0'; text = nextLine(text)) {
        for (const Line &line : lines) {
            if (!startsWith(text, line.key))
                continue;
            const Number size = takeBcacheSize(text + line.key.size());
            const bool isRight = size && (*size >= 0 || line.maybeNegative);
            device.*line.member = isRight ? size : Number(Absence::Malformed);
            whole &= isRight;
        }
    }
    return whole;
}

} // namespace zel
