// Writes samples and rates as JSON.
#include "export/Json.h"

#include "export/JsonSink.h"
#include "export/Walk.h"

namespace zel {

namespace {

constexpr char32_t lastOfBasicPlane = 0xffff;

void appendUnit(std::string &out, unsigned unit) {
    constexpr char digits[] = "0123456789abcdef";
    const char text[] = {
        '\\', 'u', digits[unit >> 12U], digits[unit >> 8U & 0xfU], digits[unit >> 4U & 0xfU], digits[unit & 0xfU]};
    out.append(text, sizeof(text));
}

// JSON escapes are UTF-16: what is beyond the first plane takes two.
void appendEscaped(std::string &out, const Character &character) {
    if (character.kind == Character::Kind::Broken)
        return appendUnit(out, 0xfffd);
    if (character.code <= lastOfBasicPlane)
        return appendUnit(out, character.code);
    const char32_t above = character.code - lastOfBasicPlane - 1;
    appendUnit(out, 0xd800U + (above >> 10U));
    appendUnit(out, 0xdc00U + (above & 0x3ffU));
}

// When each area was read, what that cost, and what failed in it.
void writeAreas(const Sample &sample, std::span<const Area> areas, JsonSink &sink) {
    sink.openObject("areas");
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        const AreaState &state = sample.areas[index];
        if (!state.asked || !isShown(areas, static_cast<Area>(index)))
            continue;
        sink.openObject(areaName(static_cast<Area>(index)));
        sink.seconds("monotonic_seconds", state.monotonicNanoseconds);
        sink.number("cost_seconds", state.costSeconds);
        writeSilence({sample.realtimeNanoseconds, sample.elapsedSeconds}, state, sink);
        if (state.error != 0)
            writeError(state, sink);
        if (state.absence != Absence::None)
            sink.text("absent", absenceName(state.absence));
        sink.closeObject();
    }
    sink.closeObject();
}

void write(const Sample &sample, const Rates *rates, std::span<const Area> areas, std::string &out) {
    JsonSink sink(out);
    sink.seconds("time_seconds", sample.realtimeNanoseconds);
    sink.timestamp("time", sample.realtimeNanoseconds);
    sink.number("elapsed_seconds", sample.elapsedSeconds);
    if (rates != nullptr)
        sink.number("interval_seconds", rates->seconds);
    walk(sample, rates, areas, sink);
    writeAreas(sample, areas, sink);
    out += '}';
}

} // namespace

void appendJsonText(std::string &out, std::string_view text) {
    out += '"';
    forEachPiece(text, [&out](std::string_view piece, const Character &first) {
        if (first.kind == Character::Kind::Plain)
            appendWithBackslashes(out, piece, "\"\\");
        else
            appendEscaped(out, first);
    });
    out += '"';
}

void writeJson(const Sample &sample, std::span<const Area> areas, std::string &out) {
    write(sample, nullptr, areas, out);
}

void writeJson(const Sample &sample, const Rates &rates, std::span<const Area> areas, std::string &out) {
    write(sample, &rates, areas, out);
}

} // namespace zel
