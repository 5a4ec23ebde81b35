// `zel list`: every number that a sample can have, and what is known of it; or those that this host lacks.
#include "export/Csv.h"
#include "export/Json.h"
#include "export/Text.h"
#include "export/Walk.h"
#include "host/Sampler.h"
#include "zel/Duration.h"
#include "zel/Output.h"
#include "zel/Terminal.h"
#include "zel/commands/AbsentList.h"
#include "zel/commands/OptionValues.h"

namespace zel {

namespace {

constexpr std::chrono::seconds longWait{1}; // from here on the reader is told what is waited for

constexpr OptionEntry options[] = {
    {"--format", "FORMAT", "table (default), json: one object per line, csv"},
    {"--rates", "", "what `zel show --rates` has in the place of counters"},
    {"--absent", "", "only what this host lacks: why, and what would give it"},
    {"--wide", "", "lines as long as they get: nothing is cut or left out on a narrow terminal"},
    ROOT_OPTION,
    DEADLINE_OPTION,
};

constexpr Example examples[] = {
    {"zel list", "everything"},
    {"zel list disks --wide", "the fields of disks, with what they mean"},
    {"zel list --format csv > families.csv", "the same as a table for other programs"},
    {"zel list processes --rates", "what is measured between two samples of a process"},
    {"zel list --absent", "what this host lacks, and what would give it"},
    {"zel list --absent disks --format json", "the same of disks, a line for every family"},
};

constexpr std::string_view about =
    "Without an area: all of them.\n"
    "A name is the section and the field, as JSON and CSV have them. Units are base units. A counter only grows; a "
    "gauge "
    "goes up and down; an info describes; a state is 1 or 0 or a word; a label tells rows apart. Rights say who can "
    "read "
    "it: any user, the owner of the process, or root.\n"
    "With --absent a sample is taken, and what no row of it has a value of is listed: the reason (unsupported, "
    "denied, "
    "vanished, timed out, malformed), the kernel option, module, driver or right that would give it, and the file and "
    "the error where something failed. A section that has nothing is one name.";

constexpr Example exitStatus[] = {{"0", "done"}, {"1", "the output failed"}, {"2", "the command line is wrong"}};

template<class Use> void forEachListed(std::span<const Area> areas, bool rates, Use &&use) {
    for (const AnySection<Sample> &section : sections()) {
        if (isShown(areas, section.area))
            forEachFamily(section, rates, [&](const Family &family) { use(section.name, family); });
    }
}

void writeListTable(std::span<const Area> areas, bool rates, const Style &style, std::string &out) {
    Table table("FAMILIES", {{"name", true, true},
                             {"unit", true, true},
                             {"kind", true, true},
                             {"rights", true, false},
                             {"help", true, true},
                             {"source", true, false}});
    forEachListed(areas, rates, [&table](std::string_view section, const Family &family) {
        const std::string name = std::string(section) + '.' + std::string(family.name);
        const bool any = family.rights == Rights::Any;
        table.add({{name},
                   {std::string(unitName(family.unit))},
                   {std::string(kindName(family.kind)), Tone::Quiet},
                   {std::string(rightsName(family.rights)), any ? Tone::Quiet : Tone::Warning},
                   {std::string(family.help)},
                   {std::string(family.source), Tone::Quiet}});
    });
    table.write(style, out);
}

void appendMember(std::string &out, std::string_view name, std::string_view value) {
    out += out.empty() || out.back() == '\n' ? '{' : ',';
    appendJsonText(out, name);
    out += ':';
    appendJsonText(out, value);
}

void writeListJson(std::span<const Area> areas, bool rates, std::string &out) {
    forEachListed(areas, rates, [&out](std::string_view section, const Family &family) {
        appendMember(out, "area", areaName(family.area));
        appendMember(out, "section", section);
        appendMember(out, "name", family.name);
        appendMember(out, "unit", unitName(family.unit));
        appendMember(out, "kind", kindName(family.kind));
        appendMember(out, "rights", rightsName(family.rights));
        appendMember(out, "source", family.source);
        appendMember(out, "help", family.help);
        out += ",\"counter_bits\":";
        appendNumber(out, static_cast<std::uint64_t>(family.counterBits));
        out += "}\n";
    });
}

void writeListCsv(std::span<const Area> areas, bool rates, std::string &out) {
    out += "area,section,name,unit,kind,rights,source,help,counter_bits\r\n";
    forEachListed(areas, rates, [&out](std::string_view section, const Family &family) {
        for (const std::string_view text :
             {areaName(family.area), section, family.name, unitName(family.unit), kindName(family.kind),
              rightsName(family.rights), family.source, family.help}) {
            appendCsvText(out, text);
            out += ',';
        }
        appendNumber(out, static_cast<std::uint64_t>(family.counterBits));
        out += "\r\n";
    });
}

struct Request {
    std::vector<Area> areas;
    Format format = Format::Table;
    bool rates = false, absent = false, wide = false;
    std::string root;
    std::chrono::milliseconds deadline{};
};

Request readRequest(const Arguments &arguments, std::string &problem) {
    Request request;
    request.areas = readAreas(arguments.words, problem);
    request.format = readFormat(arguments.value("--format"), problem, std::span(FORMATS).first(3));
    request.rates = arguments.has("--rates");
    request.absent = arguments.has("--absent");
    request.wide = arguments.has("--wide");
    request.root = readRoot(arguments, problem);
    request.deadline = readDeadline(arguments, problem);
    if (!problem.empty())
        return request;
    if (request.absent && request.rates)
        problem = "--rates and --absent exclude each other: a rate lacks what its counter lacks";
    else if (!request.absent && (arguments.has("--root") || arguments.has("--deadline")))
        problem = "--root and --deadline are for --absent: without it no host is read";
    return request;
}

Sample readNow(const Request &request) {
    const Progress progress("waiting for what does not answer, at most " + durationText(request.deadline), longWait);
    return Sampler({.root = request.root, .areas = request.areas, .deadline = request.deadline}).take();
}

std::string textOf(const Request &request) {
    Style style = outputStyle();
    if (request.wide)
        style.width = 0;
    std::string text;
    if (request.absent)
        writeAbsent(readNow(request), {request.format, request.root, style}, text);
    else if (request.format == Format::Json)
        writeListJson(request.areas, request.rates, text);
    else if (request.format == Format::Csv)
        writeListCsv(request.areas, request.rates, text);
    else
        writeListTable(request.areas, request.rates, style, text);
    return text;
}

int runList(const Command &command, const Arguments &arguments) {
    std::string problem;
    const Request request = readRequest(arguments, problem);
    if (!problem.empty())
        return refuse(command, problem);
    return writeOut(textOf(request)) == Written::Failed ? EXIT_FAILED : EXIT_DONE;
}

} // namespace

const Command listCommand{"list",     "[AREA...]", "what a sample can have, or what of it this host lacks",
                          about,      options,     examples,
                          exitStatus, runList};

} // namespace zel
