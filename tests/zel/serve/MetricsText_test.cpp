// Metrics that other programs wrote, read strictly.
#include "zel/serve/MetricsText.h"

#include <gtest/gtest.h>

using zel::MetricFormat;
using zel::MetricsText;
using zel::readMetricsText;
using zel::TextFamily;
using zel::TextType;

namespace {

// What is read, written again.
std::string rewritten(std::string_view text, MetricFormat format = MetricFormat::PrometheusText) {
    const MetricsText read = readMetricsText(text);
    EXPECT_EQ(read.problem, "") << text;
    std::string out;
    for (const TextFamily &family : read.families)
        zel::appendFamily(family, format, out);
    return out;
}

std::string problemOf(std::string_view text) {
    const MetricsText read = readMetricsText(text);
    EXPECT_TRUE(read.families.empty()) << text;
    return read.problem;
}

TEST(MetricsText, FamilyIsWrittenAsItWasRead) {
    const std::string text = "# HELP backup_bytes Size of the last \\\\ \\n backup.\n"
                             "# TYPE backup_bytes gauge\n"
                             "backup_bytes{job=\"daily\",path=\"a\\\\b\\\"c\\nd\"} 1.5\n"
                             "backup_bytes{job=\"weekly\"} -3\n";
    EXPECT_EQ(rewritten(text), text);
}

TEST(MetricsText, BlanksCommentsAndEmptyLinesMeanNothing) {
    EXPECT_EQ(rewritten("\n# a remark\n#HELPER x\n  a  {  x = \"1\" , }   +2\n\t b\t3\n"),
              "# HELP a \n# TYPE a untyped\na{x=\"1\"} 2\n# HELP b \n# TYPE b untyped\nb 3\n");
    EXPECT_EQ(rewritten(""), "");
    EXPECT_EQ(rewritten("# HELP a Without series.\n# TYPE a counter\n"), "");
}

TEST(MetricsText, SeriesOfAFamilyAreBroughtTogether) {
    EXPECT_EQ(rewritten("a 1\nb 2\na{x=\"1\"} 3\n"), "# HELP a \n# TYPE a untyped\na 1\na{x=\"1\"} 3\n"
                                                     "# HELP b \n# TYPE b untyped\nb 2\n");
}

TEST(MetricsText, LabelsAreInTheOrderOfTheirNames) {
    EXPECT_EQ(rewritten("a{z=\"1\",b=\"2\"} 1\n"), "# HELP a \n# TYPE a untyped\na{b=\"2\",z=\"1\"} 1\n");
}

TEST(MetricsText, NumbersOfEveryForm) {
    EXPECT_EQ(rewritten("a 1e3\nb .5\nc +Inf\nd -inf\ne NaN\nf 0012\ng -0.25E-1\nh Infinity\n"),
              "# HELP a \n# TYPE a untyped\na 1000\n# HELP b \n# TYPE b untyped\nb 0.5\n"
              "# HELP c \n# TYPE c untyped\nc +Inf\n# HELP d \n# TYPE d untyped\nd -Inf\n"
              "# HELP e \n# TYPE e untyped\ne NaN\n# HELP f \n# TYPE f untyped\nf 12\n"
              "# HELP g \n# TYPE g untyped\ng -0.025\n# HELP h \n# TYPE h untyped\nh +Inf\n");
}

TEST(MetricsText, HistogramAndSummaryHaveTheirParts) {
    const std::string text =
        "# HELP h H.\n# TYPE h histogram\nh_bucket{le=\"1\"} 3\nh_bucket{le=\"+Inf\"} 4\nh_sum 2.5\n"
        "h_count 4\n# HELP s S.\n# TYPE s summary\ns{quantile=\"0.5\"} 1\ns_sum 2\ns_count 3\n";
    EXPECT_EQ(rewritten(text), text);
    EXPECT_EQ(readMetricsText(text).families.size(), 2U);
}

TEST(MetricsText, NamesOfOpenMetricsKeepTheirSeries) {
    EXPECT_EQ(rewritten("# HELP a_total A \"quoted\".\n# TYPE a_total counter\na_total 1\n", MetricFormat::OpenMetrics),
              "# HELP a A \\\"quoted\\\".\n# TYPE a counter\na_total 1\n");
    EXPECT_EQ(rewritten("# TYPE b counter\nb 1\nc 2\n", MetricFormat::OpenMetrics),
              "# HELP b \n# TYPE b unknown\nb 1\n# HELP c \n# TYPE c unknown\nc 2\n");
}

TEST(MetricsText, OneWrongLineRefusesTheText) {
    for (const char *text : {"a\n",
                             "a one\n",
                             "a 1 2\n",
                             "a 1 \n",
                             "1a 1\n",
                             "a{x} 1\n",
                             "a{x=1} 1\n",
                             "a{x=\"1} 1\n",
                             "a{x=\"1\" 1\n",
                             "a{x=\"1\" y=\"2\"} 1\n",
                             "a{x=\"1\",x=\"2\"} 1\n",
                             "a{x=\"\\t\"} 1\n",
                             "a{__name__=\"b\"} 1\n",
                             "a{x:y=\"1\"} 1\n",
                             "a{x=\"\xff\"} 1\n",
                             "a 1\r\n",
                             "a 1e\n",
                             "a 0x10\n",
                             "a 1_000\n",
                             "a --1\n",
                             "a +-1\n",
                             "a 1e999\n",
                             "a ,\n",
                             "a{,} 1\n",
                             "-\n",
                             "# TYPE a gauges\na 1\n",
                             "# TYPE a\na 1\n",
                             "# TYPE a gauge\n# TYPE a gauge\na 1\n",
                             "# HELP a A.\n# HELP a A.\na 1\n",
                             "a 1\n# TYPE a gauge\n",
                             "# HELP a \\t\na 1\n",
                             "# HELP a \xfe\na 1\n",
                             "# HELP\n",
                             "# HELP {\n",
                             "# TYPE h histogram\nh 1\n",
                             "# TYPE h histogram\nh_bucket 1\n",
                             "# TYPE s summary\ns 1\n",
                             "good 1\nbad\n"}) {
        EXPECT_NE(problemOf(text), "") << text;
    }
}

TEST(MetricsText, LastLineNeedsItsEnd) {
    const MetricsText read = readMetricsText("a 1\nb 2");
    EXPECT_EQ(read.problem, "the last line has no end");
    EXPECT_EQ(read.line, 2U);
    EXPECT_TRUE(read.families.empty());
}

TEST(MetricsText, ZeroBytesAreRefused) {
    EXPECT_NE(problemOf(std::string_view("a 1\n\0\n", 6)), "");
    EXPECT_NE(problemOf(std::string_view("a{x=\"\0\"} 1\nb", 12)), "");
}

} // namespace
