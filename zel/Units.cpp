// Writes numbers with the unit that fits them.
#include "zel/Units.h"

#include "export/Text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <ctime>

namespace zel {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1000000000;

constexpr double minute = 60, hour = 60 * minute, day = 24 * hour;

std::string fixed(double number, int decimals) {
    std::array<char, 400> text{}; // the longest double has 309 digits before its point
    return {text.data(), std::to_chars(text.begin(), text.end(), number, std::chars_format::fixed, decimals).ptr};
}

// Three digits that count: 1.25, 12.5, 125.
std::string shortNumber(double number) {
    const double size = std::fabs(number);
    return fixed(number, size < 9.995 ? 2 : size < 99.95 ? 1 : 0);
}

template<std::size_t SIZE> std::string scaled(double number, double step, const std::array<const char *, SIZE> &units) {
    std::size_t unit = 0;
    for (; std::fabs(number) >= step - 0.5 && unit + 1 < SIZE; ++unit)
        number /= step;
    return (unit == 0 ? fixed(number, 0) : shortNumber(number)) + ' ' + units[unit];
}

// Two units, the larger one first: "3 h 12 min".
std::string twoParts(double seconds, double large, const char *largeName, double small, const char *smallName) {
    const double count = std::floor(seconds / large);
    const double rest = std::floor((seconds - count * large) / small);
    return fixed(count, 0) + ' ' + largeName + ' ' + fixed(rest, 0) + ' ' + smallName;
}

std::string reasonText(Absence reason) {
    switch (reason) {
    case Absence::None:
    case Absence::Unsupported:
        return "-";
    case Absence::NotYet:
        return "not yet";
    case Absence::Denied:
        return "denied";
    case Absence::Vanished:
        return "gone";
    case Absence::TimedOut:
        return "timed out";
    case Absence::NotAsked:
        return "not asked";
    case Absence::Malformed:
        return "malformed";
    }
    return "-";
}

std::string realText(const Family &family, double number, Charset charset) {
    switch (family.unit) {
    case Unit::Bytes:
        return bytesText(number);
    case Unit::Seconds:
        return secondsText(number, charset);
    case Unit::Ratio:
        return percentText(number);
    case Unit::Hertz:
        return hertzText(number);
    case Unit::Celsius:
        return fixed(number, 1) + " C";
    case Unit::Volts:
        return shortNumber(number) + " V";
    case Unit::Amperes:
        return shortNumber(number) + " A";
    case Unit::Watts:
        return shortNumber(number) + " W";
    case Unit::Joules:
        return scaled(number, 1000, std::array{"J", "kJ", "MJ", "GJ", "TJ"});
    case Unit::Coulombs:
        return shortNumber(number / hour) + " Ah"; // as everybody counts what a battery holds
    case Unit::RevolutionsPerMinute:
        return fixed(number, 0) + " rpm";
    case Unit::None:
        break;
    }
    return numberText(number);
}

} // namespace

std::string bytesText(double bytes) {
    constexpr std::array units{"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    return scaled(bytes, 1024, units);
}

std::string secondsText(double seconds, Charset charset) {
    const double size = std::fabs(seconds);
    if (size == 0)
        return "0";
    if (size < 0.9995e-3)
        return shortNumber(seconds * 1e6) + (charset == Charset::Utf8 ? " \xc2\xb5s" : " us");
    if (size < 0.9995)
        return shortNumber(seconds * 1e3) + " ms";
    if (size < minute)
        return shortNumber(seconds) + " s";
    if (size < hour)
        return twoParts(seconds, minute, "min", 1, "s");
    if (size < day)
        return twoParts(seconds, hour, "h", minute, "min");
    return twoParts(seconds, day, "d", hour, "h");
}

std::string percentText(double ratio) {
    const double percent = ratio * 100;
    return fixed(percent, std::fabs(percent) < 99.95 ? 1 : 0) + '%';
}

std::string hertzText(double hertz) {
    constexpr std::array units{"Hz", "kHz", "MHz", "GHz"};
    return scaled(hertz, 1000, units);
}

std::string bitsText(double bits) {
    constexpr std::array units{"bit", "kbit", "Mbit", "Gbit", "Tbit"};
    return scaled(bits, 1000, units);
}

std::string numberText(double number) {
    const double size = std::fabs(number);
    if (size == 0)
        return "0";
    return fixed(number, size < 9.995 ? 2 : size < 99.95 ? 1 : 0);
}

std::string localTimeText(std::int64_t nanoseconds) {
    const std::time_t seconds = nanoseconds / nanosecondsPerSecond;
    std::tm parts{};
    char text[64];
    if (localtime_r(&seconds, &parts) == nullptr || std::strftime(text, sizeof(text), "%F %T %Z", &parts) == 0)
        return {};
    return text;
}

std::string valueText(const Family &family, const Value &value, Charset charset) {
    switch (value.type()) {
    case Value::Type::Absent:
        return reasonText(value.absence());
    case Value::Type::Text:
        return displayText(value.asText(), charset);
    case Value::Type::Real:
        return realText(family, value.asReal(), charset);
    case Value::Type::Unsigned:
        break;
    }
    if (family.unit != Unit::None)
        return realText(family, value.asReal(), charset);
    std::string digits;
    appendNumber(digits, value.asUnsigned());
    return digits;
}

} // namespace zel
