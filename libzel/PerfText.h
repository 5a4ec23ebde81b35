// The performance text: tables and push texts that agents ship and other programs parse.
//
//   table    name C name C  R value C value C  R value C value C
//   push     K M code F value F M code F value F        (scalars)
//            K M code F table                           (a table)
//
// with the separators R (row) 03 1F '|', C (column) 03 1F '~', M (metric) 03 1F ']', F (field) 03 1F '^' and the agent
// key K. Texts are split on the full three bytes; the bytes 03, 1F and 00 are never inside a value, they are written
// as blanks, so that no value can forge a row or end the text.
//
// CPerfText writes into a text buffer that its collector owns (a malloc'ed pointer and its size, two public members of
// the collector). It is bound to one text for the length of a sample. Not thread-safe.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>

inline constexpr int PERF_TABLE_SIZE = 10240;     // first size of most table buffers
inline constexpr int PERF_PUSH_SIZE = 512;        // size of the scalar push buffers
inline constexpr std::size_t PERF_ROW_ROOM = 256; // free bytes that a row finds before it is appended
inline constexpr std::string_view PERF_END_MARKER = "torv_token_end";

/// A separator pair: two slots of a 3-character text.
using PerfSplit = char[2][4];

/// Sets row and column separator of a table.
void fgSetTableSplit(PerfSplit &split);
/// Sets metric and field separator of a push text.
void fgSetPushSplit(PerfSplit &split);

/// A zero-filled text buffer of `size` bytes, to be released with free(); null when there is no memory or size is
/// below 1.
char *fgNewTextBuffer(int size);

class CPerfText {
public:
    enum class Growth {
        Doubling, // the buffer doubles until what is appended fits
        Fixed     // the buffer keeps its size: a metric that does not fit is left out with all that follow it
    };

    /// Binds to the text buffer `buffer` of `size` bytes. With Growth::Doubling both change when the buffer moves; a
    /// null buffer is allocated when it is first needed. The text that is in the buffer is kept.
    CPerfText(char *&buffer, int &size, Growth growth = Growth::Doubling);

    CPerfText(const CPerfText &) = delete;
    CPerfText &operator=(const CPerfText &) = delete;

    /// Empties the text and zero-fills what it occupied.
    void clear();

    /// Doubles the buffer until at least `room` bytes are free after the text.
    void reserveRoom(std::size_t room);
    /// Enlarges the buffer to `size` bytes, keeping the text; a smaller or equal size changes nothing.
    void growTo(std::size_t size);

    // Table ---------------------------------------------------------------------------------------------------------

    /// The header: every column name followed by the column separator.
    void header(std::initializer_list<std::string_view> names);
    /// One column name of the header.
    void column(std::string_view name);
    /// Starts a data row: makes room by the growth rule, then writes the row separator.
    void beginRow(std::size_t room = PERF_ROW_ROOM);
    /// One value: text (separator bytes neutralised, null is empty), integer ("%d", "%llu") or number ("%.2f").
    void field(std::string_view value);
    void field(const char *value) { field(std::string_view(value == nullptr ? "" : value)); }
    void field(int value);
    void field(unsigned long value) { field(static_cast<unsigned long long>(value)); }
    void field(unsigned long long value);
    void field(double value);
    void field(char value) { field(std::string_view(&value, 1)); }
    /// A value made of a fixed text and a number, such as "CPU" 1.
    void numberedField(std::string_view prefix, int number);
    /// The values of a row that a script wrote, with the column separators between them; any other separator byte
    /// becomes a blank.
    void columns(std::string_view values);
    /// What leads the header of a list that is stamped with its time: the seconds and a metric separator.
    void timeStamp(int seconds);
    /// Row separator and end marker.
    void endMarker();

    // Push ----------------------------------------------------------------------------------------------------------

    /// The agent key; null prints as empty.
    void agentKey(const char *key);
    /// A scalar metric: M code F value F.
    void metric(std::string_view code, unsigned long long value);
    void metric(std::string_view code, double value);
    /// Opens a table metric after the agent key: M code F.
    void tableMetric(std::string_view code);
    /// Opens the CPU table, which has neither key nor leading separator: code F.
    void keylessTableMetric(std::string_view code);

    // State ---------------------------------------------------------------------------------------------------------

    std::size_t length() const { return m_length; }
    std::string_view view() const { return {m_buffer == nullptr ? "" : m_buffer, m_length}; }
    /// True when something was left out: no memory, or a fixed buffer was full.
    bool incomplete() const { return m_incomplete; }

private:
    std::size_t capacity() const;
    bool makeRoom(std::size_t length);
    char *tailWithRoom(std::size_t length) const;
    void endFieldAt(char *end);
    void append(std::string_view text);
    void appendNeutralised(std::string_view text);
    void appendSigned(long long value);
    void appendUnsigned(unsigned long long value);
    void appendNumber(double value);
    void dropMetricThatDidNotFit(std::size_t metricStart);

    char *&m_buffer;
    int &m_size;
    std::size_t m_length;
    Growth m_growth;
    bool m_incomplete = false;
};
