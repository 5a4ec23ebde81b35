// The typed values of NStringLib.h: value to text with its trace of steps, text to value.
#include "NGFunctions.h"
#include "NStringLib.h"
#include "text/NumberScan.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The steps of NValueVtoA that its trace records.
enum TraceStep {
    STEP_ENTERED = 10700,
    STEP_REFUSED,
    STEP_BYTE,
    STEP_BYTE_DONE,
    STEP_INTEGER,
    STEP_INTEGER_DONE,
    STEP_OCTETS,
    STEP_SHORT_OCTETS,
    STEP_SHORT_OCTETS_DONE,
    STEP_LONG_OCTETS,
    STEP_LONG_OCTETS_FREED,
    STEP_LONG_OCTETS_DONE,
    STEP_FLOAT,
    STEP_FLOAT_DONE,
    STEP_UNSIGNED,
    STEP_UNSIGNED_DONE,
    STEP_OWN_INTEGER,
    STEP_OWN_INTEGER_DONE,
    STEP_EMPTY = 10718
};

void trace(TraceStep step, int line = __builtin_LINE()) {
    std::snprintf(g_strDebugDetail, sizeof(g_strDebugDetail), "(DEBUG NO : %d)[%s:%s:%d]\n", static_cast<int>(step),
                  "NStringLib", "NValueVtoA", line);
}

// Values of the protocol may be anywhere, also unaligned.
template<typename Number> Number readAs(const void *value) {
    Number number;
    std::memcpy(&number, value, sizeof(number));
    return number;
}

template<typename Number>
char *printAs(const void *value, char *text, const char *format, TraceStep before, TraceStep after) {
    trace(before);
    std::snprintf(text, VALUE_TEXT_SIZE, format, readAs<Number>(value));
    trace(after);
    return text;
}

// "%f", with a decimal point in every locale.
char *printFloat(const void *value, char *text) {
    constexpr int decimals = 6;
    trace(STEP_FLOAT);
    const auto number = static_cast<double>(readAs<float>(value));
    *std::to_chars(text, text + VALUE_TEXT_SIZE - 1, number, std::chars_format::fixed, decimals).ptr = '\0';
    trace(STEP_FLOAT_DONE);
    return text;
}

// The rest of the buffer is cleared: the bytes need not end in a zero.
char *copyShortOctets(const void *value, char *text, std::size_t length) {
    trace(STEP_SHORT_OCTETS);
    std::memset(text, 0, VALUE_TEXT_SIZE);
    std::memcpy(text, value, length);
    trace(STEP_SHORT_OCTETS_DONE);
    return text;
}

// The caller's buffer is too small: a larger one takes its place.
char *copyLongOctets(const void *value, char **text, std::size_t length) {
    trace(STEP_LONG_OCTETS);
    std::free(*text);
    *text = nullptr;
    trace(STEP_LONG_OCTETS_FREED);
    char *copy = static_cast<char *>(std::malloc(length + 1));
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, value, length);
    copy[length] = '\0';
    *text = copy;
    trace(STEP_LONG_OCTETS_DONE);
    return copy;
}

// Types whose value is copied byte by byte.
bool isOctetType(int type) {
    return type == VALUE_OCTETS || type == VALUE_IDENTIFIER || type == VALUE_ADDRESS || type == VALUE_OWN_OCTETS ||
           type == VALUE_OWN_TEXT;
}

template<typename Number> void *newNumber(Number number) {
    void *value = std::malloc(sizeof(number));
    if (value != nullptr)
        std::memcpy(value, &number, sizeof(number));
    return value;
}

// A text that is shorter than asked for is filled with zeros.
void *newOctets(const char *text, std::size_t length) {
    char *value = static_cast<char *>(std::calloc(length + 1, 1));
    if (value != nullptr)
        std::memcpy(value, text, strnlen(text, length));
    return value;
}

// 0 for a text that is no number.
float floatIn(const char *text) {
    float number = 0.0F;
    zel::scanFloat(text, number);
    return number;
}

// A number that exceeds its type keeps its low bits.
void *newValue(const char *text, int type, std::size_t length) {
    if (isOctetType(type))
        return newOctets(text, length);
    switch (type) {
    case VALUE_BYTE:
        return newNumber(static_cast<std::int8_t>(std::strtol(text, nullptr, 10)));
    case VALUE_INTEGER:
        return newNumber(static_cast<std::int32_t>(std::strtol(text, nullptr, 10)));
    case VALUE_NULL:
        return std::calloc(VALUE_TEXT_SIZE, 1);
    case VALUE_FLOAT:
        return newNumber(floatIn(text));
    case VALUE_GAUGE:
    case VALUE_TICKS:
        return newNumber(static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)));
    case VALUE_OWN_INTEGER:
        return newNumber(std::strtoll(text, nullptr, 10));
    default:
        return nullptr;
    }
}

} // namespace

// The steps of the trace are contract: a debugger finds the last one reached.
char *NValueVtoA(const void *value, char **text, int type, int len) {
    trace(STEP_ENTERED);
    if (value == nullptr)
        type = VALUE_NULL;
    const bool longOctets = isOctetType(type) && len >= VALUE_TEXT_SIZE;
    if (len < 0 || text == nullptr || (*text == nullptr && !longOctets)) {
        trace(STEP_REFUSED);
        return nullptr;
    }
    if (isOctetType(type)) {
        trace(STEP_OCTETS);
        const std::size_t length = static_cast<std::size_t>(len);
        return longOctets ? copyLongOctets(value, text, length) : copyShortOctets(value, *text, length);
    }
    switch (type) {
    case VALUE_BYTE:
        return printAs<std::int8_t>(value, *text, "%d", STEP_BYTE, STEP_BYTE_DONE);
    case VALUE_INTEGER:
        return printAs<std::int32_t>(value, *text, "%d", STEP_INTEGER, STEP_INTEGER_DONE);
    case VALUE_FLOAT:
        return printFloat(value, *text);
    case VALUE_GAUGE:
    case VALUE_TICKS:
        return printAs<std::uint32_t>(value, *text, "%u", STEP_UNSIGNED, STEP_UNSIGNED_DONE);
    case VALUE_OWN_INTEGER:
        return printAs<long long>(value, *text, "%lld", STEP_OWN_INTEGER, STEP_OWN_INTEGER_DONE);
    default:
        std::memset(*text, 0, VALUE_TEXT_SIZE);
        trace(STEP_EMPTY);
        return *text;
    }
}

// What cannot be converted leaves the caller's value alone; what can replaces it.
void *NValueAtoV(const char *text, void **value, int type, int len) {
    if (len < 0 || text == nullptr || *text == '\0' || value == nullptr)
        return nullptr;
    std::free(*value);
    *value = newValue(text, type, static_cast<std::size_t>(len));
    return *value;
}
