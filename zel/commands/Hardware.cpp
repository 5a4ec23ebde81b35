// `zel hardware`: what the host is built of, and what of it changed.
#include "export/HardwareJson.h"
#include "export/HardwareWalk.h"
#include "zel/Duration.h"
#include "zel/Failure.h"
#include "zel/HardwareChanges.h"
#include "zel/Output.h"
#include "zel/TableSink.h"
#include "zel/Terminal.h"
#include "zel/Units.h"
#include "zel/commands/Commands.h"
#include "zel/commands/OptionValues.h"
#include "zel/config/ConfigFile.h"
#include "zel/views/HardwareViews.h"

#include <algorithm>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::chrono::seconds longWait{1}; // from here on the reader is told what is waited for

constexpr OptionEntry options[] = {
    {"--format", "FORMAT", "table (default), json: one object"},
    {"--serials", "", "also serial numbers, UUIDs and asset tags: for root only"},
    {"--since", "FILE", "only what came, went or changed since the JSON of an earlier run; - is standard input"},
    {"--all", "", "every field of every row, by the names that json uses"},
    {"--wide", "", "lines as long as they get: nothing is cut or left out on a narrow terminal"},
    ROOT_OPTION,
    DEADLINE_OPTION,
    CONFIG_OPTION,
};

constexpr Example examples[] = {
    {"zel hardware", "machine, processors, memory, cards and disks of this host"},
    {"zel hardware pci network", "these parts, with every device of them"},
    {"zel hardware machine --serials", "with the serial numbers, as root"},
    {"zel hardware --format json > hardware.json", "everything that is known, for a program or for --since"},
    {"zel hardware --since hardware.json", "what changed after that: nothing is printed when nothing did"},
};

constexpr std::string_view about =
    "Without a part: all of them, without the devices that say little, such as bridges. The parts are machine, "
    "processors, memory, pci, network, disks, nvme, fibrechannel and gpus.\n"
    "Every device is asked on its own: one that does not answer is shown as timed out, all others are there. Names of "
    "PCI devices come from the package pci.ids; without it their numbers are shown. Nothing is asked that would wake "
    "a sleeping device.\n"
    "--since prints a line for each difference: + for what came, - for what went, ~ for what changed. Rows are the "
    "same when their labels are (the address of a PCI device, the name of a disk). Values that move by themselves, "
    "such as temperatures, are not compared, and what could not be read this time or the time before is no change. "
    "No output means no change: test -z \"$(zel hardware --since FILE)\".";

constexpr Example exitStatus[] = {
    {"0", "done, whether something changed or not; also when the reader of the output went away"},
    {"1", "a part that was named could not be read at all (or none of all), FILE is no inventory or lacks a part that "
          "was named (or all), or the output failed"},
    {"2", "the command line is wrong"},
};

struct Request {
    HardwareOptions hardware;
    Format format = Format::Table;
    std::optional<std::string> since;
    bool everything = false, wide = false;
};

Request readValues(const Arguments &arguments, std::string &problem) {
    std::array<std::string_view, HARDWARE_PART_COUNT> parts;
    for (std::size_t part = 0; part < parts.size(); ++part)
        parts[part] = hardwarePartName(static_cast<HardwarePart>(part));
    Request request;
    for (const std::size_t part : readNames(arguments.words, parts, "part", problem))
        request.hardware.parts.push_back(static_cast<HardwarePart>(part));
    request.format = readFormat(arguments.value("--format"), problem, std::span(FORMATS).first(2));
    request.hardware.deadline = readDeadline(arguments, problem);
    request.hardware.root = readRoot(arguments, problem);
    request.hardware.serials = arguments.has("--serials");
    request.since = arguments.value("--since");
    request.everything = arguments.has("--all");
    request.wide = arguments.has("--wide");
    return request;
}

std::string problemOfHardware(const Arguments &arguments) {
    std::string problem;
    readValues(arguments, problem);
    return problem;
}

Request readRequest(const Arguments &arguments, const Arguments &given, std::string &problem) {
    const Request request = readValues(arguments, problem);
    const bool isTable = request.format == Format::Table && !request.since;
    if (problem.empty() && !isTable && (given.has("--all") || given.has("--wide")))
        problem = "--wide and --all are for tables";
    return request;
}

std::string headLine(const Hardware &hardware, const Style &style) {
    std::string line = localTimeText(hardware.realtimeNanoseconds);
    if (hardware.machine.hostName)
        line += "  " + displayText(*hardware.machine.hostName, style.charset);
    return line + "  read in " + secondsText(hardware.elapsedSeconds, style.charset);
}

// A part that could not be read has no tables that would say "none".
std::string tables(Hardware hardware, const Request &request) {
    Style style = outputStyle();
    for (AreaState &state : hardware.parts)
        state.asked = state.asked && (request.everything || state.absence == Absence::None);
    if (request.wide)
        style.width = 0;
    std::string text, sections;
    appendToned(text, headLine(hardware, style), Tone::Quiet, style);
    TableSink sink({request.everything, request.hardware.parts.empty(), hardwareViewOf}, style, sections);
    walk(hardware, sink);
    return text + (sections.empty() ? "\n" : "\n\n") + sections;
}

// What failed, each in a line. A kind of device that this host has none of is no failure, unless it was asked for.
bool reportFailures(const Hardware &hardware, const Request &request) {
    std::size_t lost = 0, asked = 0;
    for (std::size_t index = 0; index < HARDWARE_PART_COUNT; ++index) {
        const AreaState &state = hardware.parts[index];
        asked += state.asked ? 1 : 0;
        lost += state.asked && state.absence != Absence::None ? 1 : 0;
        const bool isQuiet = request.hardware.parts.empty() && state.absence == Absence::Unsupported;
        const std::string failure =
            isQuiet ? ""
                    : failureText(hardwarePartName(static_cast<HardwarePart>(index)), request.hardware.root, state);
        if (!failure.empty())
            complain(failure);
    }
    if (request.hardware.serials && geteuid() != 0)
        complain("serial numbers are read for root only");
    return request.hardware.parts.empty() ? lost == asked : lost > 0;
}

Hardware readNow(const HardwareOptions &wanted) {
    const Progress progress("waiting for what does not answer, at most " + durationText(wanted.deadline), longWait);
    return readHardware(wanted);
}

int print(const std::string &text, bool failed) {
    if (writeOut(text) == Written::Failed)
        return EXIT_FAILED;
    return failed ? EXIT_FAILED : EXIT_DONE;
}

int runChanges(const Request &request) {
    std::string problem;
    const std::string earlier = readEarlierInventory(*request.since, problem);
    if (!problem.empty()) {
        complain("hardware: " + problem);
        return EXIT_FAILED;
    }
    const Hardware hardware = readNow(request.hardware);
    const ChangeFormat format = request.format == Format::Json ? ChangeFormat::Json : ChangeFormat::Lines;
    const HardwareChanges changes = changesSince(earlier, *request.since, hardware, format);
    if (!changes.problem.empty()) {
        complain("hardware: --since " + changes.problem);
        return EXIT_FAILED;
    }
    for (const std::string &remark : changes.remarks)
        complain("hardware: " + remark);
    const bool isLost = request.hardware.parts.empty() ? !changes.hasCompared : changes.isPartial;
    return print(changes.text, reportFailures(hardware, request) || isLost);
}

int runHardware(const Command &command, const Arguments &given) {
    const std::optional<Arguments> arguments = configuredArguments(command, given);
    if (!arguments)
        return EXIT_USAGE;
    std::string problem;
    const Request request = readRequest(*arguments, given, problem);
    if (!problem.empty())
        return refuse(command, problem);
    if (request.since)
        return runChanges(request);
    const Hardware hardware = readNow(request.hardware);
    std::string text;
    if (request.format == Format::Json) {
        writeJson(hardware, text);
        text += '\n';
    } else {
        text = tables(hardware, request);
    }
    return print(text, reportFailures(hardware, request));
}

} // namespace

const Command hardwareCommand{"hardware", "[PART...]", "what the host is built of, and what of it changed",
                              about,      options,     examples,
                              exitStatus, runHardware, problemOfHardware};

} // namespace zel
