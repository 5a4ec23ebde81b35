// A directory of text files, good ones and hostile ones, in a text of metrics.
#include "zel/serve/TextfileDirectory.h"

#include "TempDirectory.h"
#include "zel/serve/ServeSettings.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using zel::MetricFormat;
using zel::TextfileDirectory;

namespace {

constexpr auto limit = std::chrono::seconds(10);
constexpr time_t written = 1795000000;

class Textfiles : public testing::Test {
protected:
    void add(const std::string &name, const std::string &text) {
        const std::string path = m_directory.write(name, text);
        const timespec times[2] = {{written, 5}, {written, 5}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    std::string path(const std::string &name) const { return (m_directory.path() / name).string(); }
    std::string shown(const std::string &own = "", MetricFormat format = MetricFormat::PrometheusText) {
        m_textfiles.refresh(limit);
        std::string out = own;
        m_textfiles.append(format, out);
        return out.substr(own.size());
    }
    bool isError() { return shown().ends_with("node_textfile_scrape_error 1\n"); }
    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    TempDirectory m_directory;
    TextfileDirectory m_textfiles{m_directory.path().string() + "/", {100, 4}};
};

TEST_F(Textfiles, FilesAreShownWithTheTimeOfTheirWriting) {
    add("b.prom", "b 2\n");
    add("a.prom", "# HELP a A.\n# TYPE a gauge\na 1\n");
    add("c.txt", "c 3\n");
    EXPECT_EQ(shown(),
              "# HELP a A.\n# TYPE a gauge\na 1\n"
              "# HELP b Read from the text file " +
                  path("b.prom") +
                  ".\n# TYPE b untyped\nb 2\n"
                  "# HELP node_textfile_mtime_seconds When each text file that is shown was written.\n"
                  "# TYPE node_textfile_mtime_seconds gauge\n"
                  "node_textfile_mtime_seconds{file=\"" +
                  path("a.prom") +
                  "\"} 1795000000\n"
                  "node_textfile_mtime_seconds{file=\"" +
                  path("b.prom") +
                  "\"} 1795000000\n"
                  "# HELP node_textfile_scrape_error 1 when a text file, or a part of one, could not be shown.\n"
                  "# TYPE node_textfile_scrape_error gauge\nnode_textfile_scrape_error 0\n");
    EXPECT_TRUE(m_textfiles.newProblems().empty());
}

TEST_F(Textfiles, FormatOfOpenMetricsIsItsOwn) {
    add("a.prom", "# TYPE a_total counter\na_total 1\n");
    EXPECT_TRUE(has(shown("", MetricFormat::OpenMetrics), "# TYPE a counter\na_total 1\n"));
    EXPECT_TRUE(has(shown(), "# TYPE a_total counter\na_total 1\n"));
}

TEST_F(Textfiles, ChangedFileIsReadAgain) {
    add("a.prom", "a 1\n");
    EXPECT_TRUE(has(shown(), "\na 1\n"));
    add("a.prom", "a 2\n");
    EXPECT_TRUE(has(shown(), "\na 2\n"));
    m_directory.remove("a.prom");
    EXPECT_FALSE(has(shown(), "\na 2\n"));
    EXPECT_FALSE(isError());
}

TEST_F(Textfiles, WrongFileIsLeftOutAndTheOthersAreShown) {
    add("a.prom", "a 1\n");
    add("b.prom", "b 1\nb two\n");
    const std::string text = shown();
    EXPECT_TRUE(has(text, "\na 1\n"));
    EXPECT_FALSE(has(text, "\nb 1\n"));
    EXPECT_FALSE(has(text, "b.prom\"} "));
    EXPECT_TRUE(isError());
    EXPECT_EQ(m_textfiles.newProblems(),
              std::vector<std::string>{path("b.prom") + ":2: the value of a series is no number"});
    EXPECT_TRUE(m_textfiles.newProblems().empty()); // it is said once
}

TEST_F(Textfiles, SameFamilyOfTwoFilesIsOne) {
    add("a.prom", "# HELP x X.\n# TYPE x gauge\nx{from=\"a\"} 1\n");
    add("b.prom", "# TYPE x gauge\nx{from=\"b\"} 2\n");
    EXPECT_TRUE(has(shown(), "# HELP x X.\n# TYPE x gauge\nx{from=\"a\"} 1\nx{from=\"b\"} 2\n"));
    EXPECT_FALSE(isError());
}

TEST_F(Textfiles, FirstFileWins) {
    add("a.prom", "# TYPE x gauge\nx 1\n");
    add("b.prom", "# TYPE x gauge\nx 2\ny 1\n");
    EXPECT_TRUE(has(shown(), "# TYPE x gauge\nx 1\n# HELP y"));
    EXPECT_TRUE(isError());
    add("b.prom", "# TYPE x counter\nx{q=\"1\"} 2\n");
    EXPECT_FALSE(has(shown(), "q=\"1\""));
    EXPECT_TRUE(isError());
    add("a.prom", "# HELP x One.\n# TYPE x gauge\nx 1\n");
    add("b.prom", "# HELP x Two.\n# TYPE x gauge\nx{q=\"1\"} 2\n");
    EXPECT_FALSE(has(shown(), "q=\"1\""));
    EXPECT_TRUE(isError());
}

TEST_F(Textfiles, FamilyOfTheHostItselfIsNotReplaced) {
    add("a.prom", "node_load1 99\nmine 1\n");
    const std::string text = shown("# HELP node_load1 Load.\n# TYPE node_load1 gauge\nnode_load1 1\n");
    EXPECT_FALSE(has(text, "node_load1 99"));
    EXPECT_TRUE(has(text, "\nmine 1\n"));
    EXPECT_TRUE(text.ends_with("node_textfile_scrape_error 1\n"));
    EXPECT_EQ(m_textfiles.newProblems(),
              std::vector<std::string>{path("a.prom") + ": node_load1 is left out: the host itself has this name"});
    EXPECT_TRUE(m_textfiles.newProblems().empty());
    EXPECT_TRUE(has(shown(), "node_load1 99"));
}

TEST_F(Textfiles, SeriesOfTheHostItselfIsNotThereTwice) {
    add("a.prom", "node_cpu_seconds_total{cpu=\"0\",mode=\"idle\"} 99\n");
    const std::string text = shown("# HELP node_cpu_seconds CPU.\n# TYPE node_cpu_seconds counter\n"
                                   "node_cpu_seconds_total{cpu=\"0\",mode=\"idle\"} 1\n",
                                   MetricFormat::OpenMetrics);
    EXPECT_FALSE(has(text, "} 99")) << text;
    EXPECT_TRUE(text.ends_with("node_textfile_scrape_error 1\n"));
}

TEST_F(Textfiles, CounterOfTheNameOfAnotherFamilyIsLeftOut) {
    add("a.prom", "# TYPE foo gauge\nfoo 1\n# TYPE foo_total counter\nfoo_total 2\n");
    for (const MetricFormat format : {MetricFormat::OpenMetrics, MetricFormat::PrometheusText}) {
        const std::string text = shown("", format);
        EXPECT_TRUE(has(text, "\nfoo 1\n")) << text;
        EXPECT_FALSE(has(text, "foo_total")) << text;
        EXPECT_TRUE(text.ends_with("node_textfile_scrape_error 1\n"));
    }
    EXPECT_EQ(m_textfiles.newProblems(),
              std::vector<std::string>{path("a.prom") + ": foo_total is left out: foo is a name of foo"});
}

TEST_F(Textfiles, PartOfAHistogramIsNoOtherFamily) {
    add("a.prom", "h_sum 1\n");
    add("b.prom", "# TYPE h histogram\nh_bucket{le=\"+Inf\"} 1\nh_sum 2\nh_count 1\n");
    const std::string text = shown();
    EXPECT_TRUE(has(text, "\nh_sum 1\n")) << text;
    EXPECT_FALSE(has(text, "h_bucket")) << text;
    EXPECT_TRUE(isError());
}

TEST_F(Textfiles, FamiliesOfTheServerAreItsOwn) {
    add("a.prom", "node_textfile_mtime_seconds{file=\"of another\"} 1\n");
    add("b.prom", "node_textfile_scrape_error 0\n");
    const std::string text = shown();
    EXPECT_FALSE(has(text, "of another")) << text;
    EXPECT_EQ(text.find("# HELP node_textfile_scrape_error"), text.rfind("# HELP node_textfile_scrape_error"));
    EXPECT_TRUE(text.ends_with("node_textfile_scrape_error 1\n"));
    EXPECT_EQ(m_textfiles.newProblems().size(), 2U);
}

TEST_F(Textfiles, HostileNamesOfFilesAreLabels) {
    add("a\"\n\\.prom", "a 1\n");
    EXPECT_TRUE(has(shown(), "a\\\"\\n\\\\.prom\"} 1795000000\n"));
}

TEST_F(Textfiles, FileThatIsTooLongIsAnError) {
    add("a.prom", "a 1\n#" + std::string(94, 'x') + "\n");
    EXPECT_FALSE(isError());
    add("a.prom", "a 1\n#" + std::string(95, 'x') + "\n");
    EXPECT_TRUE(isError());
}

TEST_F(Textfiles, TooManyFilesAreAnErrorAndTheFirstAreShown) {
    for (const char *name : {"a", "b", "c", "d", "e"})
        add(std::string(name) + ".prom", std::string(name) + " 1\n");
    const std::string text = shown();
    EXPECT_TRUE(has(text, "\nd 1\n"));
    EXPECT_FALSE(has(text, "\ne 1\n"));
    EXPECT_TRUE(isError());
}

TEST_F(Textfiles, WhatIsNoFileIsNotWaitedFor) {
    add("a.prom", "a 1\n");
    ASSERT_EQ(mkfifo(path("b.prom").c_str(), 0600), 0);
    ASSERT_EQ(mkdir(path("c.prom").c_str(), 0700), 0);
    ASSERT_EQ(symlink("/nowhere", path("d.prom").c_str()), 0);
    const std::string text = shown();
    EXPECT_TRUE(has(text, "\na 1\n"));
    EXPECT_TRUE(isError());
    EXPECT_EQ(m_textfiles.newProblems().size(), 3U);
}

TEST_F(Textfiles, DeviceIsNotRead) {
    ASSERT_EQ(symlink("/dev/zero", path("a.prom").c_str()), 0);
    EXPECT_TRUE(isError());
}

TEST_F(Textfiles, DirectoryThatIsNotThereIsAnError) {
    TextfileDirectory missing(path("nothing"), {100, 4});
    missing.refresh(limit);
    std::string out;
    missing.append(MetricFormat::PrometheusText, out);
    EXPECT_TRUE(out.ends_with("node_textfile_scrape_error 1\n")) << out;
}

TEST(UsedTextfileDirectory, IsTheDefaultOneWhereItIsThereAndThisHostIsServed) {
    zel::ServeSettings settings;
    const bool isThere = std::filesystem::is_directory("/var/lib/prometheus/node-exporter");
    EXPECT_EQ(zel::usedTextfileDirectory(settings), isThere ? "/var/lib/prometheus/node-exporter" : "");
    settings.root = "/of/another/host";
    EXPECT_EQ(zel::usedTextfileDirectory(settings), "");
    settings.textfileDirectory = "/its/own";
    EXPECT_EQ(zel::usedTextfileDirectory(settings), "/its/own");
    EXPECT_EQ(zel::usedTextfileDirectory({.textfileDirectory = ""}), "");
}

TEST_F(Textfiles, NoDirectoryIsNoError) {
    TextfileDirectory none("", {100, 4});
    none.refresh(limit);
    std::string out;
    none.append(MetricFormat::PrometheusText, out);
    EXPECT_TRUE(out.ends_with("node_textfile_scrape_error 0\n")) << out;
    EXPECT_FALSE(has(out, "mtime"));
}

} // namespace
