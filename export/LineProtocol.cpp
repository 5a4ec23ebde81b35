// Writes samples and rates in line protocol.
#include "export/LineProtocol.h"

#include "export/Text.h"
#include "export/Walk.h"
#include "text/DecimalText.h"

#include <limits>

namespace zel {

namespace {

constexpr std::string_view specialInTags = ", =\\", specialInTexts = "\"\\";
constexpr auto mostWhole = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());

void appendEscaped(std::string &out, std::string_view text, std::string_view special) {
    forEachPiece(text, [&](std::string_view piece, const Character &first) {
        if (first.kind == Character::Kind::Plain)
            appendWithBackslashes(out, piece, special);
        else
            out += REPLACEMENT;
    });
}

class LineSink {
public:
    LineSink(std::string_view host, std::int64_t nanoseconds, std::string &fields, std::string &out)
        : m_host(host), m_fields(fields), m_out(out) {
        m_timeLength = static_cast<std::size_t>(writeSignedDecimal(m_time, nanoseconds) - m_time);
    }

    void beginSection(std::string_view name, bool) { m_measurement = name; }
    void endSection() {}
    void beginRow() {
        m_start = m_out.size();
        m_fields.clear();
        m_out += m_measurement;
        tag("host", m_host);
    }
    void endRow() {
        if (m_fields.empty()) {
            m_out.resize(m_start);
            return;
        }
        m_out += ' ';
        m_out += m_fields;
        m_out += ' ';
        m_out.append(m_time, m_timeLength);
        m_out += '\n';
    }
    void field(const Family &family, const Value &value) {
        if (family.kind == Kind::Label)
            label(family.name, value);
        else
            field(family.name, value);
    }
    void tag(std::string_view name, std::string_view value) {
        if (value.empty())
            return; // a tag without a value is none
        beginTag(name);
        appendEscaped(m_out, value, specialInTags);
    }
    void field(std::string_view name, const Value &value) {
        if (!value.has() || (value.type() == Value::Type::Unsigned && value.asUnsigned() > mostWhole))
            return;
        if (!m_fields.empty())
            m_fields += ',';
        m_fields += name;
        m_fields += '=';
        if (value.type() == Value::Type::Unsigned) {
            appendNumber(m_fields, value.asUnsigned());
            m_fields += 'i';
        } else if (value.type() == Value::Type::Real) {
            appendNumber(m_fields, value.asReal());
        } else {
            m_fields += '"';
            appendEscaped(m_fields, value.asText(), specialInTexts);
            m_fields += '"';
        }
    }

private:
    void beginTag(std::string_view name) {
        m_out += ',';
        m_out += name;
        m_out += '=';
    }
    void label(std::string_view name, const Value &value) {
        if (value.type() != Value::Type::Unsigned)
            return tag(name, value.asText());
        beginTag(name);
        appendNumber(m_out, value.asUnsigned());
    }

    std::string_view m_host, m_measurement;
    char m_time[LONGEST_DECIMAL + 1];
    std::size_t m_timeLength;
    std::size_t m_start = 0;
    std::string &m_fields, &m_out;
};

void writeAreas(const Sample &sample, std::span<const Area> areas, LineSink &sink) {
    sink.beginSection("areas", true);
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        const AreaState &state = sample.areas[index];
        if (!state.asked || !isShown(areas, static_cast<Area>(index)))
            continue;
        sink.beginRow();
        sink.tag("area", areaName(static_cast<Area>(index)));
        sink.field("cost_seconds", state.costSeconds);
        sink.field("silent_seconds", state.silentSeconds);
        if (state.absence != Absence::None)
            sink.field("absent", absenceName(state.absence));
        sink.endRow();
    }
}

} // namespace

void LineWriter::write(const Sample &sample, const Rates *rates, std::span<const Area> areas, std::string_view host,
                       std::string &out) {
    LineSink sink(host, sample.realtimeNanoseconds, m_fields, out);
    walk(sample, rates, areas, sink);
    writeAreas(sample, areas, sink);
}

} // namespace zel
