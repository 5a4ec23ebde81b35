// Value conversion: every type in both directions, over texts and bytes of any length.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "NStringLib.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int types[] = {VALUE_BYTE,       VALUE_INTEGER,     VALUE_OCTETS,  VALUE_NULL,  VALUE_IDENTIFIER,
                         VALUE_FLOAT,      VALUE_ADDRESS,     VALUE_COUNTER, VALUE_GAUGE, VALUE_TICKS,
                         VALUE_OWN_OCTETS, VALUE_OWN_INTEGER, VALUE_OWN_TEXT};

bool isBytes(int type) {
    return type == VALUE_OCTETS || type == VALUE_IDENTIFIER || type == VALUE_ADDRESS || type == VALUE_OWN_OCTETS ||
           type == VALUE_OWN_TEXT;
}

bool isWhole(int type) {
    return type == VALUE_BYTE || type == VALUE_INTEGER || type == VALUE_GAUGE || type == VALUE_TICKS ||
           type == VALUE_OWN_INTEGER;
}

// What a number of `type` keeps of the number at the start of the text.
std::string expectedNumber(const std::string &text, int type) {
    if (type == VALUE_OWN_INTEGER)
        return std::to_string(std::strtoll(text.c_str(), nullptr, 10));
    if (type == VALUE_BYTE)
        return std::to_string(static_cast<std::int8_t>(std::strtol(text.c_str(), nullptr, 10)));
    if (type == VALUE_INTEGER)
        return std::to_string(static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10)));
    return std::to_string(static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 10)));
}

} // namespace

FUZZ_TARGET(values_fuzz) {
    const unsigned chosen = input.byte();
    const int type = chosen < std::size(types) ? types[chosen] : static_cast<int>(chosen);
    const int length = static_cast<int>(input.byte() | input.byte() << 8) - 16;
    const std::string text = input.text();

    void *value = nullptr;
    NValueAtoV(text.c_str(), &value, type, length);
    if (value == nullptr)
        return;
    auto *out = static_cast<char *>(std::malloc(VALUE_TEXT_SIZE));
    const char *back = NValueVtoA(value, &out, type, length);
    fuzz::ensure(back != nullptr && back == out, "no text for a value that was made");
    if (isWhole(type))
        fuzz::ensure(back == expectedNumber(text, type), "another number came back");
    if (isBytes(type))
        fuzz::ensure(back == text.substr(0, static_cast<std::size_t>(length)), "other bytes came back");
    if (type == VALUE_FLOAT)
        fuzz::ensure(std::strlen(back) < VALUE_TEXT_SIZE, "a number beyond its buffer");
    std::free(out);
    std::free(value);
}
