// What stands in an attribute file of a device: a number or a word in a line of its own.
#pragma once

#include "host/source/LineScan.h"

namespace zel {

/// The number at the start of the terminated `text`. A negative one, such as the speed of an interface without a link,
/// stands for none.
inline Count attributeNumber(const char *text) {
    const char *cursor = skipSpaces(text);
    if (cursor[0] == '-' && digitValue<10>(cursor[1]) <= 9)
        return Absence::Unsupported;
    return takeCount(cursor);
}

/// The hexadecimal number at the start of the terminated `text`, such as "0x1a".
inline Count attributeHexadecimal(const char *text) {
    const char *cursor = skipSpaces(text);
    if (cursor[0] != '0' || cursor[1] != 'x' || digitValue<16>(cursor[2]) >= 16)
        return Absence::Malformed;
    cursor += 2;
    const ScannedNumber number = scanDigits<16>(cursor, false);
    return number.overflow || !endsWord(*cursor) ? Count(Absence::Malformed) : Count(number.magnitude);
}

/// `text` without the blanks around it.
inline std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (isBlank(text.back()) || text.back() == '\0'))
        text.remove_suffix(1);
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    return text;
}

/// Takes the text without the blanks around it; an empty one is unsupported.
inline void takeAttributeText(std::string_view text, Reading<std::string> &reading) {
    const std::string_view word = trimmed(text);
    if (word.empty())
        reading.clear(Absence::Unsupported);
    else
        reading.set(word);
}

} // namespace zel
