// The documents against the code: every table, code and example of docs/format.md is compared with the texts that the
// collectors write, every value of docs/metrics.md with the columns, every setting with the headers, and every name
// that a document mentions has to exist.
#include "EveryText.h"
#include "MarkdownFile.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <set>

namespace {

using Names = std::set<std::string>;

const std::vector<WrittenText> &texts() {
    static const std::vector<WrittenText> written = everyText();
    return written;
}

const WrittenText *textNamed(const std::string &name) {
    const auto found =
        std::find_if(texts().begin(), texts().end(), [&name](const WrittenText &text) { return text.name == name; });
    return found == texts().end() ? nullptr : &*found;
}

// A text read back: its table, or its scalars.
struct ReadText {
    explicit ReadText(const std::string &text, bool isPush, const std::string &name) {
        PerfTextError error;
        const bool ok = isPush ? fgReadPerfPush(text, push, error) : fgReadPerfTable(text, table, error);
        EXPECT_TRUE(ok) << name << ": " << error.reason << " at " << error.offset;
        if (isPush && push.metrics.size() == 1 && push.metrics[0].isTable)
            table = push.metrics[0].table;
    }
    bool scalars() const { return table.columns.empty(); }

    PerfPush push;
    PerfTable table;
};

ReadText read(const WrittenText &text) {
    return ReadText(text.text, text.push, text.name);
}

std::vector<std::string> strings(const std::vector<std::string_view> &views) {
    return {views.begin(), views.end()};
}

// The texts that a caption such as "Columns of: CPU poll; CPU push." names.
std::vector<std::string> textsOfCaption(const std::string &caption, const std::string &opening) {
    std::vector<std::string> names;
    if (!caption.starts_with(opening) || !caption.ends_with("."))
        return names;
    std::string rest = caption.substr(opening.size(), caption.size() - opening.size() - 1);
    for (std::size_t end = 0; end != std::string::npos;) {
        end = rest.find("; ");
        names.push_back(rest.substr(0, end));
        rest = end == std::string::npos ? "" : rest.substr(end + 2);
    }
    return names;
}

struct Column {
    std::string name;
    std::string form;
};

// What format.md says of each text: its columns, or codes, in order.
std::map<std::string, std::vector<Column>> documentedColumns(const MarkdownFile &document) {
    std::map<std::string, std::vector<Column>> columns;
    for (const MarkdownTable &table : document.tables) {
        for (const char *opening : {"Columns of: ", "Further columns of: ", "Scalars of: "}) {
            for (const std::string &name : textsOfCaption(table.caption, opening)) {
                for (const auto &row : table.rows)
                    columns[name].push_back({firstCode(row[0]), table.cell(row, "form")});
            }
        }
    }
    return columns;
}

std::string replaced(std::string text, const std::string &from, const std::string &to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

// --- format.md -------------------------------------------------------------------------------------------------------

// The words that the first table has for a text's first sample.
std::string firstSample(const WrittenText &text) {
    if (!text.first)
        return "null";
    const ReadText first(*text.first, text.push, text.name);
    return first.scalars() ? "values" : first.table.rows.empty() ? "header" : "rows";
}

TEST(FormatDocument, FirstTableNamesEveryText) {
    const MarkdownFile document("docs/format.md");
    ASSERT_FALSE(document.tables.empty());
    const MarkdownTable &glance = document.tables[0];
    Names named;
    for (const auto &row : glance.rows) {
        const std::string name = row[0].substr(1, row[0].find(']') - 1);
        named.insert(name);
        const WrittenText *text = textNamed(name);
        ASSERT_NE(text, nullptr) << name;
        const ReadText now = read(*text);
        EXPECT_EQ(glance.cell(row, "first sample"), firstSample(*text)) << name;
        EXPECT_EQ(glance.cell(row, "end marker"), now.table.ended ? "yes" : "no") << name;
        if (now.scalars())
            continue;
        EXPECT_EQ(glance.cell(row, "columns"), std::to_string(now.table.columns.size())) << name;
        const std::string code = text->push ? std::string(now.push.metrics[0].code) : "";
        EXPECT_EQ(firstCode(glance.cell(row, "code")), code) << name;
    }
    for (const WrittenText &text : texts())
        EXPECT_TRUE(named.contains(text.name)) << text.name << " is not in the first table";
}

TEST(FormatDocument, TablesHaveTheColumnsThatCollectorsWrite) {
    const auto columns = documentedColumns(MarkdownFile("docs/format.md"));
    for (const auto &[name, described] : columns)
        EXPECT_NE(textNamed(name), nullptr) << "no collector writes " << name;
    for (const WrittenText &text : texts()) {
        ASSERT_TRUE(columns.contains(text.name)) << text.name << " has no columns in the document";
        std::vector<std::string> described;
        for (const Column &column : columns.at(text.name))
            described.push_back(column.name);
        const ReadText now = read(text);
        std::vector<std::string> written = strings(now.table.columns);
        for (std::size_t i = 0; now.scalars() && i < now.push.metrics.size(); ++i)
            written.emplace_back(now.push.metrics[i].code);
        EXPECT_THAT(written, testing::ElementsAreArray(described)) << text.name;
    }
}

TEST(FormatDocument, ValuesHaveTheirDocumentedForm) {
    const std::map<std::string, std::regex> forms = {{"integer", std::regex("-?[0-9]+")},
                                                     {"decimal", std::regex("-?[0-9]+\\.[0-9][0-9]")},
                                                     {"decimal or -", std::regex("-|-?[0-9]+\\.[0-9][0-9]")},
                                                     {"letter", std::regex("[RSTZ?]")},
                                                     {"text", std::regex("[^\\x03\\x1F]+")}};
    const auto columns = documentedColumns(MarkdownFile("docs/format.md"));
    const auto expectForm = [&](const Column &column, std::string_view value, const std::string &name) {
        const auto form = forms.find(column.form);
        ASSERT_NE(form, forms.end()) << name << " " << column.name << ": no form '" << column.form << "'";
        EXPECT_TRUE(std::regex_match(value.begin(), value.end(), form->second))
            << name << " " << column.name << ": '" << value << "' is no " << column.form;
    };
    for (const WrittenText &text : texts()) {
        const auto &described = columns.at(text.name);
        const ReadText now = read(text);
        for (const auto &row : now.table.rows)
            for (std::size_t i = 0; i < row.size(); ++i)
                expectForm(described.at(i), row[i], text.name);
        for (std::size_t i = 0; now.scalars() && i < now.push.metrics.size(); ++i)
            expectForm(described.at(i), now.push.metrics[i].value, text.name);
    }
}

TEST(FormatDocument, ExamplesAreWhatCollectorsWrite) {
    int examples = 0;
    for (const MarkdownBlock &block : MarkdownFile("docs/format.md").blocks) {
        if (!block.info.starts_with("text "))
            continue;
        ++examples;
        const WrittenText *text = textNamed(block.info.substr(5));
        ASSERT_NE(text, nullptr) << block.info;
        std::string example = replaced(replaced(block.text, "␃", "\x03"), "␟", "\x1F");
        example = replaced(example, "\n", "");
        const std::string gap = "…";
        const std::size_t cut = example.find(gap);
        if (cut == std::string::npos) {
            EXPECT_EQ(example, text->text) << block.info;
            continue;
        }
        const std::string end = example.substr(cut + gap.size());
        EXPECT_EQ(example.substr(0, cut), text->text.substr(0, cut)) << block.info;
        ASSERT_GT(text->text.size(), cut + end.size()) << block.info << " leaves nothing out";
        EXPECT_EQ(end, text->text.substr(text->text.size() - end.size())) << block.info;
    }
    EXPECT_GE(examples, 13) << "every collector has one";
}

// --- metrics.md ------------------------------------------------------------------------------------------------------

// The section of metrics.md that describes a text.
std::string sectionOf(const std::string &text) {
    const std::map<std::string, std::string> sections = {{"Disk", "Disks"},        {"Filesystem", "Filesystems"},
                                                         {"Process", "Processes"}, {"Real-time", "Processes"},
                                                         {"HBA", "HBA ports"},     {"GPU", "GPU processes"}};
    const std::string word = text.substr(0, text.find(' '));
    const auto found = sections.find(word);
    return found == sections.end() ? word : found->second;
}

TEST(MetricsDocument, DescribesEveryColumnAndCodeAndNoOther) {
    const MarkdownFile document("docs/metrics.md");
    std::map<std::string, Names> described;
    for (const MarkdownTable &table : document.tables) {
        for (const auto &row : table.rows)
            for (const std::string &name : codeSpans(table.header[0] == "value" ? row[0] : ""))
                described[table.section].insert(name);
    }
    for (const std::string &name : codeSpans(document.prose.substr(document.prose.find("## GPU processes"))))
        described["GPU processes"].insert(name);

    std::map<std::string, Names> written;
    for (const WrittenText &text : texts()) {
        if (text.name.ends_with("inventory"))
            continue;
        Names &names = written[sectionOf(text.name)];
        const ReadText now = read(text);
        for (const std::string_view column : now.table.columns)
            names.emplace(column);
        for (const PerfMetric &metric : now.push.metrics)
            names.emplace(metric.code);
        names.erase("INDEX");
        names.erase("");
    }
    for (const auto &[section, names] : written) {
        for (const std::string &name : names)
            EXPECT_TRUE(described[section].contains(name)) << name << " is not described in " << section;
        for (const std::string &name : described[section])
            EXPECT_TRUE(section == "GPU processes" || names.contains(name)) << section << " describes " << name;
    }
}

TEST(MetricsDocument, CodesExist) {
    Names codes;
    for (const WrittenText &text : texts())
        for (const PerfMetric &metric : read(text).push.metrics)
            codes.emplace(metric.code);
    const std::regex code("4\\.[0-9]+\\.[0-9]+\\.0");
    for (const char *path : {"docs/metrics.md", "docs/format.md", "docs/embedding.md", "docs/operation.md"})
        for (const std::string &span : codeSpans(MarkdownFile(path).prose))
            EXPECT_TRUE(!std::regex_match(span, code) || codes.contains(span)) << path << " names " << span;
}

// The values of one column, or of one code, in texts whose samples are `seconds` apart.
std::vector<std::string> valuesAfter(int seconds, const std::string &name, const std::string &column,
                                     std::vector<WrittenText> (*take)()) {
    every_text::secondsBetween = seconds;
    std::vector<std::string> values;
    for (const WrittenText &text : take()) {
        if (text.name != name)
            continue;
        const ReadText now = read(text);
        for (std::size_t row = 0; row < now.table.rows.size(); ++row)
            values.emplace_back(now.table.value(row, column));
        for (const PerfMetric &metric : now.push.metrics)
            if (metric.code == column)
                values.emplace_back(metric.value);
    }
    every_text::secondsBetween = 5;
    return values;
}

// What the document says of samples between which no time passed, or the clock was set back by five seconds.
TEST(MetricsDocument, RatesOverNoTimeAndOverNegativeTime) {
    struct Case {
        const char *text;
        const char *column;
        std::vector<WrittenText> (*take)();
        std::size_t row;
        const char *noTime;
        const char *setBack;
    };
    const Case cases[] = {{"CPU poll", "USED", every_text::cpuTexts, 0, "25.00", "25.00"},
                          {"VM push", "4.9.1.0", every_text::vmTexts, 0, "inf", "0.00"},
                          {"Disk poll", "READCNT", every_text::diskTexts, 4, "-1.00", "-1.00"},
                          {"Disk poll", "READKB", every_text::diskTexts, 4, "inf", "-1.00"},
                          {"Disk poll", "BUSY", every_text::diskTexts, 4, "100.00", "-1.00"},
                          {"Disk poll", "READKB", every_text::diskTexts, 5, "0.00", "0.00"}, // did not move
                          {"Network poll", "INPKT", every_text::networkTexts, 0, "-1.00", "0.00"},
                          {"Network poll", "RATE", every_text::networkTexts, 0, "-1.00", "0.00"},
                          {"Process poll, extended", "PCPU", every_text::processTexts, 0, "0.00", "0.00"},
                          {"Process poll, extended", "IOBYTE", every_text::processTexts, 0, "5120.00", "5120.00"},
                          {"Process poll, extended", "IOBYTERATE", every_text::processTexts, 0, "0.00", "0.00"},
                          {"HBA poll", "IOPS", every_text::hbaTexts, 0, "inf", "-1.00"}};
    for (const Case &expected : cases) {
        const std::string what = std::string(expected.text) + " " + expected.column;
        EXPECT_EQ(valuesAfter(0, expected.text, expected.column, expected.take).at(expected.row), expected.noTime)
            << what;
        EXPECT_EQ(valuesAfter(-5, expected.text, expected.column, expected.take).at(expected.row), expected.setBack)
            << what;
    }
}

} // namespace
