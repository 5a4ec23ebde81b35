// The reader on every text that the collectors write: each is understood whole, and each kind of damage is refused
// where it is.
#include "EveryText.h"
#include "text/Separators.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t SEPARATOR_LENGTH = 3;

bool reads(const WrittenText &written, const std::string &text, PerfTextError &error) {
    PerfPush push;
    PerfTable table;
    return written.push ? fgReadPerfPush(text, push, error) : fgReadPerfTable(text, table, error);
}

// Offsets of the separators of a text.
std::vector<std::size_t> separatorsOf(const std::string &text) {
    std::vector<std::size_t> offsets;
    for (std::size_t at = text.find("\x03\x1F"); at != std::string::npos; at = text.find("\x03\x1F", at + 1))
        offsets.push_back(at);
    return offsets;
}

// The text that a table gives when it is put together again.
std::string written(const PerfTable &table) {
    std::string text;
    for (const std::string_view column : table.columns)
        text += std::string(column) + std::string(zel::COLUMN_SEPARATOR);
    for (const auto &row : table.rows) {
        text += zel::ROW_SEPARATOR;
        for (const std::string_view value : row)
            text += std::string(value) + std::string(zel::COLUMN_SEPARATOR);
    }
    if (table.ended)
        text += std::string(zel::ROW_SEPARATOR) + "torv_token_end";
    return text;
}

std::string written(const PerfPush &push) {
    const std::string field(zel::FIELD_SEPARATOR);
    const bool keyless = push.metrics.size() == 1 && push.metrics[0].code == "4.3.24.0";
    std::string text(push.key);
    for (const PerfMetric &metric : push.metrics) {
        if (!keyless)
            text += zel::METRIC_SEPARATOR;
        if (!metric.code.empty())
            text += std::string(metric.code) + field;
        text += metric.isTable ? written(metric.table) : std::string(metric.value) + field;
    }
    return text;
}

class PerfTextRoundTrip : public testing::TestWithParam<std::string> {
protected:
    PerfTextRoundTrip() {
        for (const every_text::Writer &writer : every_text::writers) {
            if (writer.name == GetParam())
                m_texts = writer.take();
        }
        EXPECT_FALSE(m_texts.empty()) << GetParam();
    }

    std::vector<WrittenText> m_texts;
};

TEST_P(PerfTextRoundTrip, ReadsBackWhatWasWritten) {
    for (const WrittenText &text : m_texts) {
        PerfPush push;
        PerfTable table;
        PerfTextError error;
        const bool ok = text.push ? fgReadPerfPush(text.text, push, error) : fgReadPerfTable(text.text, table, error);
        ASSERT_TRUE(ok) << text.name << ": " << error.reason << " at " << error.offset;
        EXPECT_EQ(text.push ? written(push) : written(table), text.text) << text.name;
        EXPECT_FALSE(text.push ? push.metrics.empty() : table.rows.empty()) << text.name;
    }
}

// True for a separator after a whole row or scalar, where nothing else may be.
bool standsAlone(const std::string &text, std::size_t at) {
    const std::string scalarEnd = std::string(zel::FIELD_SEPARATOR) + std::string(zel::METRIC_SEPARATOR);
    if (at >= SEPARATOR_LENGTH && text.compare(at - SEPARATOR_LENGTH, scalarEnd.size(), scalarEnd) == 0)
        return true;
    return text.compare(at, SEPARATOR_LENGTH, zel::ROW_SEPARATOR) == 0 && text.find(zel::ROW_SEPARATOR) < at;
}

// A separator that lost its first byte is found at its second one, which no value holds.
TEST_P(PerfTextRoundTrip, DamagedSeparatorIsRefusedWhereItStands) {
    for (const WrittenText &text : m_texts) {
        for (const std::size_t at : separatorsOf(text.text)) {
            std::string damaged = text.text;
            damaged[at] = 'x';
            PerfTextError error;
            EXPECT_FALSE(reads(text, damaged, error)) << text.name << " without its separator at " << at;
            EXPECT_EQ(error.offset, standsAlone(text.text, at) ? at : at + 1) << text.name << ": " << error.reason;
        }
    }
}

// A text that was cut is refused at its end, unless whole rows, or whole metrics, are left.
TEST_P(PerfTextRoundTrip, CutTextIsRefusedAtItsEnd) {
    for (const WrittenText &text : m_texts) {
        const std::vector<std::size_t> separators = separatorsOf(text.text);
        for (const std::size_t at : separators) {
            const char kind = text.text[at + 2];
            const bool wholeBefore = kind == '|' || (kind == ']' && at != separators.front());
            for (const std::size_t length : {at, at + 1, at + 2}) {
                PerfTextError error;
                const bool read = reads(text, text.text.substr(0, length), error);
                EXPECT_EQ(read, wholeBefore && length == at) << text.name << " cut to " << length;
                EXPECT_EQ(error.offset, read ? 0 : at) << text.name << " cut to " << length << ": " << error.reason;
            }
        }
    }
}

TEST_P(PerfTextRoundTrip, SuperfluousValueIsRefusedBehindItsRow) {
    for (const WrittenText &text : m_texts) {
        const std::size_t row = text.text.find(zel::ROW_SEPARATOR);
        if (row == std::string::npos)
            continue; // scalars have no rows
        std::size_t end = text.text.find(zel::ROW_SEPARATOR, row + 1);
        end = end == std::string::npos ? text.text.size() : end;
        std::string longer = text.text;
        longer.insert(end, "more" + std::string(zel::COLUMN_SEPARATOR));
        PerfTextError error;
        EXPECT_FALSE(reads(text, longer, error)) << text.name;
        EXPECT_EQ(error.offset, end) << text.name;
    }
}

std::vector<std::string> writerNames() {
    std::vector<std::string> names;
    for (const every_text::Writer &writer : every_text::writers)
        names.emplace_back(writer.name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Collector, PerfTextRoundTrip, testing::ValuesIn(writerNames()),
                         [](const auto &param) { return param.param; });

} // namespace
