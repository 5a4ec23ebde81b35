// Writes what a host lacks, why, and what would give it.
#include "zel/commands/AbsentList.h"

#include "export/Csv.h"
#include "export/Json.h"
#include "export/Text.h"
#include "zel/Absences.h"
#include "zel/Failure.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::size_t namesShown = 3; // of a line

// One line of the table: fields of a section, or whole sections of an area.
struct Line {
    const LackGroup *first;
    std::vector<std::string_view> names;
};

bool isSameLine(const LackGroup &left, const LackGroup &right) {
    const Lack &one = left.first(), &other = right.first();
    return left.isWhole && right.isWhole && one.family->area == other.family->area && one.reason == other.reason &&
           givenBy(one) == givenBy(other);
}

std::vector<Line> linesOf(std::span<const LackGroup> groups) {
    std::vector<Line> lines;
    for (const LackGroup &group : groups) {
        if (lines.empty() || !isSameLine(*lines.back().first, group))
            lines.push_back({&group, {}});
        if (group.isWhole) {
            lines.back().names.push_back(group.first().family->section);
            continue;
        }
        for (const Lack *lack : group.lacks)
            lines.back().names.push_back(lack->family->name);
    }
    return lines;
}

// "gpus, gpu_processes", "disks.wwid", "disks: vendor, model, serial and 2 more".
std::string namesOf(const Line &line) {
    const std::span<const std::string_view> names(line.names);
    const std::span<const std::string_view> shown = names.first(std::min(names.size(), namesShown));
    std::string text;
    if (!line.first->isWhole)
        text = std::string(line.first->first().family->section) + (names.size() == 1 ? "." : ": ");
    for (std::size_t index = 0; index < shown.size(); ++index)
        text += (index == 0 ? "" : ", ") + std::string(shown[index]);
    const std::size_t rest = names.size() - shown.size();
    return rest == 0 ? text : text + " and " + std::to_string(rest) + " more";
}

Tone toneOf(Absence reason) {
    if (reason == Absence::Unsupported)
        return Tone::Quiet;
    return reason == Absence::Denied ? Tone::Warning : Tone::Alarm;
}

std::string reasonOf(const Lack &lack) {
    std::string reason(absenceName(lack.reason));
    std::replace(reason.begin(), reason.end(), '_', ' ');
    return reason;
}

// What failed first of a line.
std::string failureOf(const LackGroup &group, const std::string &root) {
    const auto failed =
        std::find_if(group.lacks.begin(), group.lacks.end(), [](const Lack *lack) { return lack->failure != nullptr; });
    if (failed == group.lacks.end())
        return {};
    const AreaState &failure = *(*failed)->failure;
    const std::string file = failedFile(root, failure.file), error = errorText(failure.error);
    return file + (file.empty() || error.empty() ? "" : ": ") + error;
}

void writeTable(std::span<const Lack> lacks, const AbsentOutput &output, std::string &out) {
    Table table("ABSENT", {{"what", true, true}, {"reason", true, true}, {"given by", true, true}, {"failure", true}});
    const std::vector<LackGroup> groups = grouped(lacks);
    const auto textOrNone = [&output](std::string_view text) {
        return text.empty() ? std::string("-") : displayText(text, output.style.charset);
    };
    for (const Line &line : linesOf(groups)) {
        const Lack &lack = line.first->first();
        table.add({{namesOf(line)},
                   {reasonOf(lack), toneOf(lack.reason)},
                   {textOrNone(givenBy(lack))},
                   {textOrNone(failureOf(*line.first, output.root)), Tone::Quiet}});
    }
    if (lacks.empty())
        table.remark("nothing: every family has a value");
    else
        table.remark(std::to_string(lacks.size()) + (lacks.size() == 1 ? " family" : " families"));
    table.write(output.style, out);
}

void appendMember(std::string &out, std::string_view name, std::string_view value) {
    out += out.back() == '{' ? "" : ",";
    appendJsonText(out, name);
    out += ':';
    if (value.empty())
        out += "null";
    else
        appendJsonText(out, value);
}

void appendJsonLine(const Lack &lack, std::string &out) {
    out += '{';
    appendMember(out, "area", areaName(lack.family->area));
    appendMember(out, "section", lack.family->section);
    appendMember(out, "name", lack.family->name);
    appendMember(out, "reason", absenceName(lack.reason));
    appendMember(out, "given_by", givenBy(lack));
    appendMember(out, "source", lack.family->source);
    if (lack.failure != nullptr && lack.failure->error != 0) {
        out += ",\"error\":{";
        appendMember(out, "file", lack.failure->file);
        out += ",\"errno\":";
        appendNumber(out, static_cast<std::uint64_t>(lack.failure->error));
        appendMember(out, "text", errorText(lack.failure->error));
        out += '}';
    }
    out += "}\n";
}

void appendCsvLine(const Lack &lack, std::string &out) {
    const bool hasFailed = lack.failure != nullptr && lack.failure->error != 0;
    const std::string number = hasFailed ? std::to_string(lack.failure->error) : "";
    const std::string error = hasFailed ? errorText(lack.failure->error) : "";
    const std::string_view cells[] = {areaName(lack.family->area),
                                      lack.family->section,
                                      lack.family->name,
                                      absenceName(lack.reason),
                                      givenBy(lack),
                                      lack.family->source,
                                      hasFailed ? std::string_view(lack.failure->file) : std::string_view(),
                                      number,
                                      error};
    for (const std::string_view &cell : cells) {
        out += &cell == cells ? "" : ",";
        if (!cell.empty())
            appendCsvText(out, cell);
    }
    out += "\r\n";
}

} // namespace

void writeAbsent(const Sample &sample, const AbsentOutput &output, std::string &out) {
    const std::vector<Lack> lacks = lacksOf(sample);
    if (output.format == Format::Table)
        return writeTable(lacks, output, out);
    if (output.format == Format::Csv)
        out += "area,section,name,reason,given_by,source,file,errno,error\r\n";
    for (const Lack &lack : lacks) {
        if (output.format == Format::Csv)
            appendCsvLine(lack, out);
        else
            appendJsonLine(lack, out);
    }
}

} // namespace zel
