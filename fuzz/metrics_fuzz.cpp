// Names of any bytes in both formats of metrics and in line protocol: each stays in its place, every line is whole, and
// the labels of plain characters read back.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "export/LineProtocol.h"
#include "export/OpenMetrics.h"

#include <algorithm>

namespace {

using zel::Area;

constexpr unsigned rowsAtMost = 8;

struct Rows {
    std::vector<std::string> names, texts;
};

Rows readRows(fuzz::FuzzedInput &input) {
    Rows rows;
    while (!input.atEnd() && rows.names.size() < rowsAtMost) {
        rows.names.push_back(input.piece());
        rows.texts.push_back(input.piece());
    }
    return rows;
}

zel::Sample sampleOf(const Rows &rows) {
    zel::Sample sample;
    for (const Area area : {Area::Disks, Area::Interrupts, Area::Filesystems, Area::Processes, Area::Cgroups})
        sample.area(area).asked = true;
    for (std::size_t row = 0; row < rows.names.size(); ++row) {
        zel::InterruptLine &interrupt = sample.interrupts.append();
        interrupt.interrupt = rows.names[row];
        interrupt.description = rows.texts[row];
        interrupt.count = std::uint64_t{row};
        zel::Disk &disk = sample.disks.append();
        disk.name = rows.names[row];
        disk.serial = rows.texts[row];
        disk.reads = std::uint64_t{row};
        zel::Process &process = sample.processes.append();
        process.name = rows.names[row];
        process.commandLine = rows.texts[row];
        process.residentBytes = std::uint64_t{row + 1};
        zel::Filesystem &filesystem = sample.filesystems.append();
        filesystem.mountPoint = rows.names[row];
        filesystem.device = rows.texts[row];
        filesystem.sizeBytes = std::uint64_t{row};
        sample.cgroups.append().path = rows.names[row];
    }
    return sample;
}

// Calls use(line) for every line; returns how many there are.
template<class Use> std::size_t forEachLine(const std::string &text, Use &&use) {
    std::size_t lines = 0;
    for (std::size_t at = 0; at < text.size(); ++lines) {
        const std::size_t end = text.find('\n', at);
        fuzz::ensure(end != text.npos, "a line without its end");
        use(std::string_view(text).substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

// From the end of the labels on, as a reader sees them that knows quotes and backslashes.
std::string_view afterLabels(std::string_view line) {
    const std::size_t brace = line.find_first_of("{ ");
    fuzz::ensure(brace != line.npos, "a series without a value");
    bool quoted = false;
    for (std::size_t at = brace; line[brace] == '{' && at < line.size(); ++at) {
        if (quoted && line[at] == '\\')
            ++at;
        else if (line[at] == '"')
            quoted = !quoted;
        else if (!quoted && line[at] == '}')
            return line.substr(at + 1);
    }
    fuzz::ensure(line[brace] == ' ', "labels without their end");
    return line.substr(brace);
}

void ensurePage(const std::string &page) {
    forEachLine(page, [](std::string_view line) {
        fuzz::ensure(!line.empty(), "an empty line");
        if (line[0] == '#')
            return;
        fuzz::ensure(line.starts_with("zel_") || line.starts_with("node_"), "a line that a name has made");
        const std::string_view rest = afterLabels(line);
        fuzz::ensure(rest.size() > 1 && rest[0] == ' ', "something after the labels");
        fuzz::ensure(rest.find_first_not_of("0123456789.e+-", 1) == rest.npos, "a value that is no number");
    });
}

bool isPlain(const std::string &text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
}

} // namespace

FUZZ_TARGET(metrics_fuzz) {
    const Rows rows = readRows(input);
    const zel::Sample sample = sampleOf(rows);
    zel::MetricsWriter writer({.sections = zel::MetricSections::all(), .commandLines = true});
    std::string page, open, lines;
    writer.write(sample, nullptr, {}, zel::MetricFormat::PrometheusText, page);
    writer.write(sample, nullptr, {}, zel::MetricFormat::OpenMetrics, open);
    ensurePage(page);
    ensurePage(open);
    for (const std::string &name : rows.names) {
        if (isPlain(name))
            fuzz::ensure(page.find("node_disk_reads_completed_total{device=\"" + name + "\"} ") != page.npos,
                         "a name that does not read back");
    }
    zel::LineWriter().write(sample, nullptr, {}, rows.names.empty() ? "" : rows.names[0], lines);
    forEachLine(lines, [](std::string_view line) {
        const std::string_view measurement = line.substr(0, line.find_first_of(", "));
        fuzz::ensure(measurement.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") == measurement.npos &&
                         !measurement.empty(),
                     "a line that a name has made");
    });
}
