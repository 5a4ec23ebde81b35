// Writes JSON objects piece by piece: the sink of the walks, and what their callers write beside it.
#pragma once

#include "export/Json.h"
#include "export/Text.h"

namespace zel {

/// A value, or null.
void appendJsonValue(std::string &out, const Value &value);

/// The members of one object, from its opening brace on.
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
        appendJsonValue(m_out, value);
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

/// When something was read, and how long that took.
struct ReadingTime {
    std::int64_t realtimeNanoseconds;
    double elapsedSeconds;
};

/// What failed first in an area or a part, the member "error".
void writeError(const AreaState &state, JsonSink &sink);
/// Since when it, or something of it, does not answer.
void writeSilence(const ReadingTime &time, const AreaState &state, JsonSink &sink);

} // namespace zel
