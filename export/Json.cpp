// Writes samples and rates as JSON.
#include "export/Json.h"

#include "export/Text.h"
#include "export/Walk.h"

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

void appendEscaped(std::string &out, char byte) {
    constexpr char digits[] = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x80) {
        out += "\\ufffd";
        return;
    }
    out += "\\u00";
    out += digits[value >> 4U];
    out += digits[value & 0xfU];
}

void appendWellFormed(std::string &out, std::string_view text) {
    for (const char character : text) {
        if (character == '"' || character == '\\')
            out += '\\';
        out += character;
    }
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

class JsonSink {
public:
    explicit JsonSink(std::string &out) : m_out(out) {}

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
        m_absent.clear();
    }
    void endRow() {
        if (!m_absent.empty()) {
            key("absent");
            m_out += '{';
            m_out += m_absent;
            m_out += '}';
        }
        m_out += '}';
        m_first = false;
    }
    void field(const Family &family, const Value &value) {
        key(family.name);
        appendValue(m_out, value);
        if (value.has())
            return;
        if (!m_absent.empty())
            m_absent += ',';
        m_absent += '"';
        m_absent += family.name;
        m_absent += "\":\"";
        m_absent += absenceName(value.absence());
        m_absent += '"';
    }

    void key(std::string_view name) {
        if (!m_first)
            m_out += ',';
        m_first = false;
        m_out += '"';
        m_out += name; // of the schema: letters, digits and underscores
        m_out += "\":";
    }
    void number(std::string_view name, double value) {
        key(name);
        appendNumber(m_out, value);
    }

private:
    std::string &m_out;
    std::string m_absent;
    bool m_first = true;
    bool m_firstRow = true;
    bool m_list = false;
};

double timeOf(const Sample &sample) {
    return static_cast<double>(sample.realtimeNanoseconds) / nanosecondsPerSecond;
}

// Since when it, or something of it, does not answer.
void writeSilence(const Sample &sample, const AreaState &state, JsonSink &sink) {
    if (state.silentSeconds <= 0)
        return;
    sink.number("silent_seconds", state.silentSeconds);
    sink.number("silent_since_seconds", timeOf(sample) + sample.elapsedSeconds - state.silentSeconds);
}

// When each area was read, what that cost, and what failed in it.
void writeAreas(const Sample &sample, std::span<const Area> areas, JsonSink &sink, std::string &out) {
    sink.key("areas");
    out += '{';
    JsonSink members(out);
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        const auto area = static_cast<Area>(index);
        const AreaState &state = sample.areas[index];
        if (!state.asked || !isShown(areas, area))
            continue;
        members.key(areaName(area));
        out += '{';
        JsonSink fields(out);
        fields.number("monotonic_seconds", static_cast<double>(state.monotonicNanoseconds) / nanosecondsPerSecond);
        fields.number("cost_seconds", state.costSeconds);
        writeSilence(sample, state, fields);
        if (state.error != 0) {
            fields.key("error");
            appendNumber(out, static_cast<std::uint64_t>(state.error));
            fields.key("file");
            appendJsonText(out, state.file);
        }
        if (state.absence != Absence::None) {
            fields.key("absent");
            appendJsonText(out, absenceName(state.absence));
        }
        out += '}';
    }
    out += '}';
}

void writeTime(const Sample &sample, JsonSink &sink) {
    sink.number("time_seconds", timeOf(sample));
}

} // namespace

void appendJsonText(std::string &out, std::string_view text) {
    out += '"';
    forEachPiece(text, [&out](std::string_view piece, bool wellFormed) {
        if (wellFormed)
            appendWellFormed(out, piece);
        else
            appendEscaped(out, piece[0]);
    });
    out += '"';
}

void writeJson(const Sample &sample, std::span<const Area> areas, std::string &out) {
    out += '{';
    JsonSink sink(out);
    writeTime(sample, sink);
    walk(sample, areas, sink);
    writeAreas(sample, areas, sink, out);
    out += '}';
}

void writeJson(const Sample &sample, const Rates &rates, std::span<const Area> areas, std::string &out) {
    out += '{';
    JsonSink sink(out);
    writeTime(sample, sink);
    sink.number("interval_seconds", rates.seconds);
    walk(rates, areas, sink);
    out += '}';
}

} // namespace zel
