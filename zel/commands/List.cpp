// `zel list`: every number that a sample can have, and what is known of it.
#include "export/Csv.h"
#include "export/Json.h"
#include "export/Text.h"
#include "export/Walk.h"
#include "zel/Output.h"
#include "zel/Terminal.h"
#include "zel/commands/Commands.h"

namespace zel {

namespace {

constexpr OptionEntry options[] = {
    {"--format", "FORMAT", "table (default), json: one object per line, csv"},
    {"--rates", "", "what `zel show --rates` has in the place of counters"},
    {"--wide", "", "lines as long as they get: nothing is cut or left out on a narrow terminal"},
};

constexpr Example examples[] = {
    {"zel list", "everything"},
    {"zel list disks --wide", "the fields of disks, with what they mean"},
    {"zel list --format csv > families.csv", "the same as a table for other programs"},
    {"zel list processes --rates", "what is measured between two samples of a process"},
};

constexpr std::string_view about =
    "Without an area: all of them.\n"
    "A name is the section and the field, as JSON and CSV have them. Units are base units. A counter only grows; a "
    "gauge "
    "goes up and down; an info describes; a state is 1 or 0 or a word; a label tells rows apart. Rights say who can "
    "read "
    "it: any user, the owner of the process, or root.";

constexpr Example exitStatus[] = {{"0", "done"}, {"1", "the output failed"}, {"2", "the command line is wrong"}};

template<class Use> void forEachListed(std::span<const Area> areas, bool rates, Use &&use) {
    forEachSection([&]<class Row>(const Section<Row> &section) {
        if (isShown(areas, section.area))
            forEachFamily<Row>(rates, [&](const Family &family) { use(section.name, family); });
    });
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

int runList(const Command &command, const Arguments &arguments) {
    std::string problem;
    const std::vector<Area> areas = readAreas(arguments.words, problem);
    const Format format = readFormat(arguments.value("--format"), problem);
    if (!problem.empty())
        return refuse(command, problem);
    const bool rates = arguments.has("--rates");
    Style style = outputStyle();
    if (arguments.has("--wide"))
        style.width = 0;
    std::string text;
    if (format == Format::Json)
        writeListJson(areas, rates, text);
    else if (format == Format::Csv)
        writeListCsv(areas, rates, text);
    else
        writeListTable(areas, rates, style, text);
    return writeOut(text) == Written::Failed ? EXIT_FAILED : EXIT_DONE;
}

} // namespace

const Command listCommand{"list",     "[AREA...]", "what a sample can have: names, units, kinds, sources, rights",
                          about,      options,     examples,
                          exitStatus, runList};

} // namespace zel
