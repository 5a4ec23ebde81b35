// Families of both text formats, read back by a reader of their requirements.
#include "export/MetricSink.h"

#include "MetricText.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using zel::MetricFormat;
using zel::MetricSink;
using zel::MetricType;

constexpr MetricFormat text = MetricFormat::PrometheusText, open = MetricFormat::OpenMetrics;

template<class Write> std::string written(MetricFormat format, Write &&write) {
    MetricSink sink;
    std::string out;
    sink.start(format, out);
    write(sink);
    sink.finish();
    const auto read = format == open ? MetricText::Format::OpenMetrics : MetricText::Format::Prometheus;
    MetricText(out, read); // its expectations
    return out;
}

TEST(MetricSink, AFamilyIsHelpTypeAndItsSeries) {
    const auto write = [](MetricSink &sink) {
        sink.family("reads_total", MetricType::Counter, "Reads completed.");
        sink.label("device", "vda").value(std::uint64_t{812});
        sink.label("device", "vdb").label("major", std::uint64_t{254}).value(0.5);
        sink.family("load1", MetricType::Gauge, "Load.");
        sink.value(2.0);
    };
    EXPECT_EQ(written(text, write), "# HELP reads_total Reads completed.\n"
                                    "# TYPE reads_total counter\n"
                                    "reads_total{device=\"vda\"} 812\n"
                                    "reads_total{device=\"vdb\",major=\"254\"} 0.5\n"
                                    "# HELP load1 Load.\n"
                                    "# TYPE load1 gauge\n"
                                    "load1 2\n");
    EXPECT_EQ(written(open, write), "# HELP reads Reads completed.\n"
                                    "# TYPE reads counter\n"
                                    "reads_total{device=\"vda\"} 812\n"
                                    "reads_total{device=\"vdb\",major=\"254\"} 0.5\n"
                                    "# HELP load1 Load.\n"
                                    "# TYPE load1 gauge\n"
                                    "load1 2\n"
                                    "# EOF\n");
}

TEST(MetricSink, EmptyTextHasItsEndOnly) {
    EXPECT_EQ(written(text, [](MetricSink &) {}), "");
    EXPECT_EQ(written(open, [](MetricSink &) {}), "# EOF\n");
}

TEST(MetricSink, TypesHaveTheNamesOfTheFormat) {
    const auto typesOf = [](MetricFormat format) {
        const std::string out = written(format, [](MetricSink &sink) {
            sink.family("a_total", MetricType::Counter, "A.");
            sink.value(1.0);
            sink.family("b", MetricType::Counter, "A counter that is not called so.");
            sink.value(1.0);
            sink.family("c", MetricType::Unknown, "C.");
            sink.value(1.0);
            sink.family("d_info", MetricType::Info, "D.");
            sink.label("name", "x").one();
        });
        std::string types;
        const MetricText read(out, format == open ? MetricText::Format::OpenMetrics : MetricText::Format::Prometheus);
        for (const MetricFamily &family : read.families())
            types += family.name + " " + family.type + " " + family.series[0].name + "\n";
        return types;
    };
    EXPECT_EQ(typesOf(text), "a_total counter a_total\nb counter b\nc untyped c\nd_info gauge d_info\n");
    EXPECT_EQ(typesOf(open), "a counter a_total\nb unknown b\nc unknown c\nd info d_info\n");
}

TEST(MetricSink, LabelsAreEscapedAndReadBack) {
    for (const MetricFormat format : {text, open}) {
        for (unsigned byte = 0; byte < 0x80; ++byte) {
            const std::string value = {'a', static_cast<char>(byte), 'z'};
            const std::string out = written(format, [&](MetricSink &sink) {
                sink.family("a", MetricType::Gauge, "A.");
                sink.label("name", value).value(1.0);
            });
            const MetricText read(out,
                                  format == open ? MetricText::Format::OpenMetrics : MetricText::Format::Prometheus);
            EXPECT_EQ(read.family("a").series.at(0).labels.at("name"), value) << byte;
        }
    }
}

TEST(MetricSink, OnlyWhatTheFormatNamesIsEscaped) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "With \"quotes\", \\ and\na line.");
        sink.label("name", "\"\\\n\té").value(1.0);
    });
    EXPECT_EQ(out, "# HELP a With \"quotes\", \\\\ and\\na line.\n"
                   "# TYPE a gauge\n"
                   "a{name=\"\\\"\\\\\\n\té\"} 1\n");
    const std::string inOpen = written(open, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "With \"quotes\".");
        sink.value(1.0);
    });
    EXPECT_EQ(inOpen, "# HELP a With \\\"quotes\\\".\n# TYPE a gauge\na 1\n# EOF\n");
}

TEST(MetricSink, BytesThatAreNoUtf8AreReplaced) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "A.");
        sink.label("name", "x\xff\xc0\xafy").value(1.0);
    });
    EXPECT_NE(out.find("{name=\"x\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbdy\"}"), out.npos) << out;
}

TEST(MetricSink, AbsentReadingsAndNumbersThatAreNoneLeaveNothing) {
    EXPECT_EQ(written(text,
                      [](MetricSink &sink) {
                          sink.family("a", MetricType::Gauge, "A.");
                          sink.label("name", "x").value(zel::Count(zel::Absence::Denied));
                          sink.label("name", "y").value(zel::Number(zel::Absence::NotYet), 8);
                          sink.label("name", "z").value(zel::Value(zel::Absence::Denied));
                          sink.label("name", "t").value(zel::Value(std::string_view("text")));
                          sink.value(std::numeric_limits<double>::quiet_NaN());
                          sink.value(std::numeric_limits<double>::infinity());
                          sink.value(-std::numeric_limits<double>::infinity());
                          sink.value(std::numeric_limits<double>::max(), 10);
                      }),
              "");
}

TEST(MetricSink, LabelsOfASeriesWithoutValueAreNotThoseOfTheNext) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "A.");
        sink.label("name", "x").value(zel::Count(zel::Absence::Denied));
        sink.value(3.0);
    });
    EXPECT_EQ(out, "# HELP a A.\n# TYPE a gauge\na 3\n");
}

TEST(MetricSink, WholeNumbersKeepEveryDigitAndFactorsApply) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "A.");
        sink.label("n", "1").value(std::numeric_limits<std::uint64_t>::max());
        sink.label("n", "2").value(zel::Count(std::uint64_t{1024}), 1.0 / 512);
        sink.label("n", "3").value(zel::Number(1.5), 1000);
        sink.label("n", "4").value(zel::Value(std::uint64_t{9007199254740993}));
    });
    EXPECT_NE(out.find("{n=\"1\"} 18446744073709551615\n"), out.npos) << out;
    EXPECT_NE(out.find("{n=\"2\"} 2\n"), out.npos) << out;
    EXPECT_NE(out.find("{n=\"3\"} 1500\n"), out.npos) << out;
    EXPECT_NE(out.find("{n=\"4\"} 9007199254740993\n"), out.npos) << out;
}

TEST(MetricSink, ASeriesIsThereOnce) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "A.");
        for (const double value : {1.0, 2.0})
            sink.label("name", "x").value(value);
        sink.family("b", MetricType::Gauge, "B.");
        sink.label("name", "x").value(3.0);
        sink.family("c", MetricType::Gauge, "C.");
        sink.value(4.0);
        sink.value(5.0);
    });
    const MetricText read(out, MetricText::Format::Prometheus);
    EXPECT_EQ(read.value("a", {{"name", "x"}}), "1");
    EXPECT_EQ(read.value("b", {{"name", "x"}}), "3");
    EXPECT_EQ(read.value("c"), "4");
}

TEST(MetricSink, NamesThatBecomeTheSameAreOneSeries) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "A.");
        sink.label("name", "\xff").value(1.0);
        sink.label("name", "\xfe").value(2.0);
    });
    EXPECT_EQ(MetricText(out, MetricText::Format::Prometheus).family("a").series.size(), 1U);
}

TEST(MetricSink, RowsShareTheirLabels) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.label("name", "x").keepRow();
        sink.label("name", "hidden").keepRow(false);
        sink.label("name", "x").keepRow(); // another one under the same name
        sink.label("name", "y").keepRow();
        for (const char *name : {"a", "b"}) {
            sink.family(name, MetricType::Gauge, "Rows.");
            for (std::size_t row = 0; row < 4; ++row)
                sink.row(row).value(static_cast<std::uint64_t>(row));
        }
        sink.family("c", MetricType::Gauge, "More labels.");
        sink.row(0).label("mode", "idle").value(1.0);
        sink.row(0).label("mode", "user").value(2.0);
        sink.row(1).label("mode", "idle").value(3.0);
    });
    EXPECT_EQ(out,
              "# HELP a Rows.\n# TYPE a gauge\na{name=\"x\"} 0\na{name=\"y\"} 3\n"
              "# HELP b Rows.\n# TYPE b gauge\nb{name=\"x\"} 0\nb{name=\"y\"} 3\n"
              "# HELP c More labels.\n# TYPE c gauge\nc{name=\"x\",mode=\"idle\"} 1\nc{name=\"x\",mode=\"user\"} 2\n");
}

// Readers refuse a page whose family comes twice.
TEST(MetricSink, AFamilyThatThePageHasAlreadyIsLeftOut) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "A.");
        sink.value(1.0);
        sink.family("b", MetricType::Gauge, "B.");
        sink.value(2.0);
        sink.family("a", MetricType::Counter, "Another.");
        sink.value(3.0);
        sink.label("name", "x").keepRow();
        sink.family("b", MetricType::Gauge, "Of rows.");
        sink.row(0).value(4.0);
        sink.family("c", MetricType::Gauge, "C.");
        sink.row(0).value(5.0);
    });
    EXPECT_EQ(out, "# HELP a A.\n# TYPE a gauge\na 1\n# HELP b B.\n# TYPE b gauge\nb 2\n"
                   "# HELP c C.\n# TYPE c gauge\nc{name=\"x\"} 5\n");
}

TEST(MetricSink, AFamilyWithoutSeriesTakesNoName) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a", MetricType::Gauge, "Nothing.");
        sink.value(zel::Number(zel::Absence::Denied));
        sink.family("a", MetricType::Gauge, "A.");
        sink.value(1.0);
    });
    EXPECT_EQ(out, "# HELP a A.\n# TYPE a gauge\na 1\n");
}

// There a counter takes the name of its family and that of its series.
TEST(MetricSink, InOpenMetricsACounterTakesTwoNames) {
    const std::string out = written(open, [](MetricSink &sink) {
        sink.family("a_total", MetricType::Counter, "A.");
        sink.value(1.0);
        sink.family("a", MetricType::Gauge, "Its name without the ending.");
        sink.value(2.0);
        sink.family("a_total", MetricType::Unknown, "The name of its series.");
        sink.value(3.0);
    });
    EXPECT_EQ(out, "# HELP a A.\n# TYPE a counter\na_total 1\n# EOF\n");
}

TEST(MetricSink, RowsMayHaveNoLabels) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.keepRow();
        sink.family("a", MetricType::Gauge, "A.");
        sink.row(0).value(1.0);
        sink.clearRows();
        sink.keepRow();
        sink.family("b", MetricType::Gauge, "B.");
        sink.row(0).value(2.0);
    });
    EXPECT_EQ(out, "# HELP a A.\n# TYPE a gauge\na 1\n# HELP b B.\n# TYPE b gauge\nb 2\n");
}

TEST(MetricSink, LabelsOfReadings) {
    const std::string out = written(text, [](MetricSink &sink) {
        sink.family("a_info", MetricType::Info, "A.");
        sink.label("text", zel::Reading<std::string>("x"))
            .label("none", zel::Reading<std::string>(zel::Absence::Denied))
            .label("count", zel::Count(std::uint64_t{7}))
            .label("number", zel::Number(0.25))
            .label("noNumber", zel::Number(zel::Absence::Denied))
            .one();
    });
    EXPECT_NE(out.find("{text=\"x\",none=\"\",count=\"7\",number=\"0.25\",noNumber=\"\"} 1\n"), out.npos) << out;
}

TEST(MetricSink, TheNextTextStartsAnew) {
    MetricSink sink;
    std::string out = "before\n";
    for (int round = 0; round < 2; ++round) {
        sink.start(text, out);
        sink.family("a", MetricType::Gauge, "A.");
        sink.label("name", "x").value(1.0);
        sink.label("name", "left over");
        sink.finish();
    }
    EXPECT_EQ(out, "before\n# HELP a A.\n# TYPE a gauge\na{name=\"x\"} 1\n"
                   "# HELP a A.\n# TYPE a gauge\na{name=\"x\"} 1\n");
}

TEST(MetricSink, InSteadyStateNothingIsAllocated) {
    MetricSink sink;
    std::string out;
    const auto writeOnce = [&] {
        out.clear();
        sink.start(open, out);
        for (std::uint64_t row = 0; row < 100; ++row)
            sink.label("name", "a name that is no short one").label("row", row).keepRow();
        sink.family("rows", MetricType::Gauge, "Rows.");
        for (std::size_t row = 0; row < 100; ++row)
            sink.row(row).value(1.0);
        sink.family("series", MetricType::Gauge, "Series.");
        for (std::uint64_t row = 0; row < 100; ++row)
            sink.label("row", row).value(1.0);
        sink.finish();
    };
    writeOnce();
    const long before = allocationsSoFar();
    writeOnce();
    EXPECT_EQ(allocationsSoFar(), before);
}

TEST(MetricSink, MediaTypesNameTheVersion) {
    EXPECT_EQ(zel::mediaType(text), "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_EQ(zel::mediaType(open), "application/openmetrics-text; version=1.0.0; charset=utf-8");
}

} // namespace
