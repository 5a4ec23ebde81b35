// Writes samples and rates as JSON.
#include "export/Json.h"

#include "export/Text.h"
#include "export/Walk.h"

#include <cstring>

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;
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

void appendPlain(std::string &out, std::string_view text) {
    std::size_t start = 0;
    for (std::size_t at = text.find_first_of("\"\\"); at != text.npos; at = text.find_first_of("\"\\", at + 1)) {
        out.append(text.substr(start, at - start));
        out += '\\';
        start = at;
    }
    out.append(text.substr(start));
}

void appendValue(std::string &out, const Value &value) {
    switch (value.type()) {
    case Value::Type::Absent:
        out += "null";
        break;
    case Value::Type::Unsigned:
        appendNumber(out, value.asUnsigned());
        break;
    case Value::Type::Real:
        appendNumber(out, value.asReal());
        break;
    case Value::Type::Text:
        appendJsonText(out, value.asText());
        break;
    }
}

// The members of one object, from its opening brace on.
class JsonSink {
public:
    explicit JsonSink(std::string &out) : m_out(out) { m_out += '{'; }

    void beginSection(std::string_view name, bool list) {
        key(name);
        m_list = list;
        m_firstRow = true;
        if (list)
            m_out += '[';
    }
    void endSection() {
        if (m_list)
            m_out += ']';
        m_first = false;
    }
    void beginRow() {
        if (!m_firstRow)
            m_out += ',';
        m_firstRow = false;
        m_out += '{';
        m_first = true;
        m_absences = 0;
    }
    void endRow() {
        m_out += m_absences > 0 ? "}}" : "}";
        m_first = false;
    }
    void field(const Family &family, const Value &value) {
        key(family.name);
        appendValue(m_out, value);
        m_absences += value.has() ? 0 : 1;
    }
    bool hasAbsences() {
        if (m_absences > 0)
            openObject("absent");
        return m_absences > 0;
    }
    void absence(const Family &family, Absence reason) { text(family.name, absenceName(reason)); }

    // Names are of the schema: letters, digits and underscores.
    void key(std::string_view name) {
        m_out += m_first ? std::string_view("\"") : std::string_view(",\"");
        m_out += name;
        m_out += std::string_view("\":");
        m_first = false;
    }
    void text(std::string_view name, std::string_view value) {
        key(name);
        appendJsonText(m_out, value);
    }
    template<class Numeral> void number(std::string_view name, Numeral value) {
        key(name);
        appendNumber(m_out, value);
    }
    void seconds(std::string_view name, std::int64_t nanoseconds) {
        key(name);
        appendSeconds(m_out, nanoseconds);
    }
    void timestamp(std::string_view name, std::int64_t nanoseconds) {
        key(name);
        m_out += '"';
        appendTimestamp(m_out, nanoseconds);
        m_out += '"';
    }
    void openObject(std::string_view name) {
        key(name);
        m_out += '{';
        m_first = true;
    }
    void closeObject() {
        m_out += '}';
        m_first = false;
    }

private:
    std::string &m_out;
    std::size_t m_absences = 0;
    bool m_first = true;
    bool m_firstRow = true;
    bool m_list = false;
};

void writeError(const AreaState &state, JsonSink &sink) {
    const char *const text = strerrordesc_np(state.error);
    sink.openObject("error");
    sink.text("file", state.file);
    sink.number("errno", static_cast<std::uint64_t>(state.error));
    sink.text("text", text == nullptr ? "" : text);
    sink.closeObject();
}

// Since when it, or something of it, does not answer.
void writeSilence(const Sample &sample, const AreaState &state, JsonSink &sink) {
    if (state.silentSeconds <= 0)
        return;
    const double since = sample.elapsedSeconds - state.silentSeconds; // from the start of the sample on
    sink.number("silent_seconds", state.silentSeconds);
    sink.timestamp("silent_since",
                   sample.realtimeNanoseconds + static_cast<std::int64_t>(since * nanosecondsPerSecond));
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
        writeSilence(sample, state, sink);
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
            appendPlain(out, piece);
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
