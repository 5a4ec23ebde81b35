// Writes numbers and times, and tells plain characters from those that act on their reader.
#include "export/Text.h"

#include "text/ControlBytes.h"
#include "text/DecimalText.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <iterator>

namespace zel {

namespace {

constexpr std::size_t longestReal = 32;
constexpr std::int64_t nanosecondsPerSecond = 1000000000;

struct Range {
    char32_t first, last;
};

// What is no letter and no sign but changes how others are shown, in ascending order.
constexpr Range steering[] = {
    {0x00, 0x1f},       {0x7f, 0x9f},       {0xad, 0xad},       // controls; the hyphen that hides
    {0x34f, 0x34f},     {0x61c, 0x61c},     {0x115f, 0x1160},   // joiner, Arabic direction, Hangul fillers
    {0x17b4, 0x17b5},   {0x180b, 0x180f},   {0x200b, 0x200f},   // vowels and selectors without a shape, zero width
    {0x2028, 0x202e},   {0x2060, 0x206f},   {0x3164, 0x3164},   // line ends and directions, isolates, a filler
    {0xfe00, 0xfe0f},   {0xfeff, 0xfeff},   {0xffa0, 0xffa0},   // variations, byte order mark, a filler
    {0xfff0, 0xfffb},   {0x1bca0, 0x1bca3}, {0x1d173, 0x1d17a}, // annotations, shorthand, music
    {0xe0000, 0xe0fff},                                         // tags
};

bool isSteering(char32_t code) {
    const Range *range = std::lower_bound(std::begin(steering), std::end(steering), code,
                                          [](const Range &each, char32_t value) { return each.last < value; });
    return range != std::end(steering) && range->first <= code;
}

// Of a sequence that is well formed.
char32_t decode(std::string_view sequence) {
    constexpr unsigned char firstBits[] = {0x7f, 0x7f, 0x1f, 0x0f, 0x07};
    char32_t code = static_cast<unsigned char>(sequence[0]) & firstBits[sequence.size()];
    for (const char byte : sequence.substr(1))
        code = code << 6U | (static_cast<unsigned char>(byte) & 0x3fU);
    return code;
}

void appendPadded(std::string &out, std::int64_t number, std::size_t digits) {
    char text[LONGEST_DECIMAL];
    const char *const end = writeDecimal(text, static_cast<unsigned long long>(number));
    const auto length = static_cast<std::size_t>(end - text);
    out.append(digits > length ? digits - length : 0, '0');
    out.append(text, length);
}

std::int64_t fractionOf(std::int64_t nanoseconds) {
    const std::int64_t rest = nanoseconds % nanosecondsPerSecond;
    return rest < 0 ? rest + nanosecondsPerSecond : rest;
}

// A number that is a whole number of millionths, as most times of the kernel are: what std::to_chars gives, in a third
// of its time. Decimals of 15 digits or less are those of one double each, so none is shorter; where an exponent would
// be shorter, and for all other numbers, nothing is written.
bool appendMillionths(std::string &out, double number) {
    constexpr double scale = 1e6, least = 0.001, most = 1e9;
    constexpr std::uint64_t shorterWithExponent = 100000; // 1e+05
    if (!(number >= least && number < most))
        return false;
    // Whatever comes out is compared with the number.
    const auto millionths = static_cast<std::uint64_t>(number * scale + 0.5); // NOLINT(bugprone-incorrect-roundings)
    if (static_cast<double>(millionths) / scale != number)
        return false;
    const std::uint64_t whole = millionths / 1000000;
    std::uint64_t fraction = millionths % 1000000;
    if (fraction == 0 && whole % shorterWithExponent == 0)
        return false;
    appendNumber(out, whole);
    if (fraction == 0)
        return true;
    std::size_t digits = 6;
    for (; fraction % 10 == 0; fraction /= 10)
        --digits;
    out += '.';
    appendPadded(out, static_cast<std::int64_t>(fraction), digits);
    return true;
}

} // namespace

void appendNumber(std::string &out, std::uint64_t number) {
    char text[LONGEST_DECIMAL];
    out.append(text, writeDecimal(text, number));
}

void appendNumber(std::string &out, double number) {
    if (appendMillionths(out, number))
        return;
    char text[longestReal];
    out.append(text, std::to_chars(text, text + sizeof(text), number).ptr);
}

void appendSeconds(std::string &out, std::int64_t nanoseconds) {
    if (nanoseconds < 0)
        out += '-';
    const std::int64_t whole = nanoseconds / nanosecondsPerSecond, rest = nanoseconds % nanosecondsPerSecond;
    appendPadded(out, whole < 0 ? -whole : whole, 1);
    out += '.';
    appendPadded(out, rest < 0 ? -rest : rest, 9);
}

void appendTimestamp(std::string &out, std::int64_t nanoseconds) {
    using namespace std::chrono;
    const std::int64_t fraction = fractionOf(nanoseconds);
    const sys_seconds second(seconds((nanoseconds - fraction) / nanosecondsPerSecond));
    const auto day = floor<days>(second);
    const year_month_day date(day);
    const hh_mm_ss time(second - day);
    appendPadded(out, static_cast<int>(date.year()), 4);
    out += '-';
    appendPadded(out, static_cast<unsigned>(date.month()), 2);
    out += '-';
    appendPadded(out, static_cast<unsigned>(date.day()), 2);
    out += 'T';
    appendPadded(out, time.hours().count(), 2);
    out += ':';
    appendPadded(out, time.minutes().count(), 2);
    out += ':';
    appendPadded(out, time.seconds().count(), 2);
    out += '.';
    appendPadded(out, fraction, 9);
    out += 'Z';
}

void appendWithBackslashes(std::string &out, std::string_view text, std::string_view special) {
    std::size_t start = 0;
    for (std::size_t at = text.find_first_of(special); at != text.npos; at = text.find_first_of(special, at + 1)) {
        out.append(text.substr(start, at - start));
        out += '\\';
        start = at;
    }
    out.append(text.substr(start));
}

Character characterAt(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80 ? 1 : wideCharacterLength(text);
    if (length == 0)
        return {first, 1, Character::Kind::Broken};
    const char32_t code = decode(text.substr(0, length));
    return {code, static_cast<std::uint32_t>(length),
            isSteering(code) ? Character::Kind::Steering : Character::Kind::Plain};
}

} // namespace zel
