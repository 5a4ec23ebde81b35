// What a host lacks: families without any value, their reasons and what would give them, in lines for people and for
// programs.
#include "zel/Absences.h"

#include "zel/Failure.h"
#include "zel/commands/AbsentList.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using testing::HasSubstr;
using testing::Not;
using zel::Absence;
using zel::Area;
using zel::Lack;

// A sample of one area in which every family of its sections has a value, but for its lists, which are empty.
zel::Sample sampleOf(Area area) {
    zel::Sample sample;
    sample.area(area).asked = true;
    return sample;
}

const Lack *find(const std::vector<Lack> &lacks, std::string_view section, std::string_view name) {
    const auto found = std::find_if(lacks.begin(), lacks.end(), [&](const Lack &lack) {
        return lack.family->section == section && lack.family->name == name;
    });
    return found == lacks.end() ? nullptr : &*found;
}

std::string textOf(const zel::Sample &sample, zel::Format format = zel::Format::Table, const std::string &root = "") {
    std::string out;
    zel::writeAbsent(sample, {.format = format, .root = root}, out);
    return out;
}

std::string lineWith(const std::string &text, const std::string &part) {
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.find(part) != std::string::npos)
            return line;
    }
    return "";
}

TEST(Absences, AFamilyThatOneRowHasIsThere) {
    zel::Sample sample = sampleOf(Area::Processes);
    sample.processes.append().readBytes = Absence::Denied;
    sample.processes.append().readBytes = 5;
    const std::vector<Lack> lacks = zel::lacksOf(sample);
    EXPECT_EQ(find(lacks, "processes", "read_bytes_total"), nullptr);
    ASSERT_NE(find(lacks, "processes", "written_bytes_total"), nullptr);
    EXPECT_EQ(find(lacks, "processes", "pid"), nullptr) << "labels are always there";
}

TEST(Absences, WhatWasNotAskedForOrIsNotYetThereIsNoLack) {
    zel::Sample sample = sampleOf(Area::Processes);
    zel::Process &process = sample.processes.append();
    process.proportionalBytes = Absence::NotAsked;
    process.readBytes = Absence::NotYet;
    const std::vector<Lack> lacks = zel::lacksOf(sample);
    EXPECT_EQ(find(lacks, "processes", "proportional_bytes"), nullptr);
    EXPECT_EQ(find(lacks, "processes", "read_bytes_total"), nullptr);
}

TEST(Absences, AreasThatWereNotAskedForLackNothing) {
    EXPECT_TRUE(zel::lacksOf(zel::Sample()).empty());
    for (const Lack &lack : zel::lacksOf(sampleOf(Area::Disks)))
        EXPECT_EQ(lack.family->area, Area::Disks);
}

TEST(Absences, AReasonThatCanBeMendedCountsMore) {
    const auto reasonOf = [](Absence one, Absence other) {
        zel::Sample sample = sampleOf(Area::Processes);
        sample.processes.append().readBytes = one;
        sample.processes.append().readBytes = other;
        return find(zel::lacksOf(sample), "processes", "read_bytes_total")->reason;
    };
    EXPECT_EQ(reasonOf(Absence::Unsupported, Absence::Denied), Absence::Denied);
    EXPECT_EQ(reasonOf(Absence::Denied, Absence::Unsupported), Absence::Denied);
    EXPECT_EQ(reasonOf(Absence::Vanished, Absence::TimedOut), Absence::TimedOut);
    EXPECT_EQ(reasonOf(Absence::Malformed, Absence::Unsupported), Absence::Malformed);
}

TEST(Absences, ADeniedFamilyIsGivenByARight) {
    zel::Sample sample = sampleOf(Area::Processes);
    zel::Process &process = sample.processes.append();
    process.readBytes = Absence::Denied;
    process.commandLine = Absence::Denied;
    process.writtenBytes = Absence::TimedOut;
    const std::vector<Lack> lacks = zel::lacksOf(sample);
    EXPECT_THAT(std::string(givenBy(*find(lacks, "processes", "read_bytes_total"))), HasSubstr("CAP_SYS_PTRACE"));
    EXPECT_THAT(std::string(givenBy(*find(lacks, "processes", "command_line"))), HasSubstr("root"));
    EXPECT_THAT(std::string(givenBy(*find(lacks, "processes", "written_bytes_total"))), HasSubstr("--deadline"));
    EXPECT_THAT(std::string(givenBy(*find(lacks, "processes", "read_calls_total"))),
                HasSubstr("CONFIG_TASK_IO_ACCOUNTING"));
}

TEST(Absences, WhatNotEveryHostHasSaysWhatGivesIt) {
    const auto given = [](Area area, std::string_view section, std::string_view name) {
        const zel::Sample sample = sampleOf(area);
        const std::vector<Lack> lacks = zel::lacksOf(sample);
        const Lack *lack = find(lacks, section, name);
        return lack == nullptr ? "nothing" : std::string(givenBy(*lack));
    };
    EXPECT_THAT(given(Area::Pressure, "pressure", "some_seconds_total"), HasSubstr("psi=1"));
    EXPECT_THAT(given(Area::Cpu, "processors", "frequency_hertz"), HasSubstr("cpufreq"));
    EXPECT_THAT(given(Area::Memory, "memory_nodes", "numa_hit_total"), HasSubstr("CONFIG_NUMA"));
    EXPECT_THAT(given(Area::Memory, "huge_pages", "pages"), HasSubstr("CONFIG_HUGETLBFS"));
    EXPECT_THAT(given(Area::Processes, "processes", "delay_seconds_total"), HasSubstr("kernel.task_delayacct"));
    EXPECT_THAT(given(Area::Protocols, "conntrack", "entries"), HasSubstr("nf_conntrack"));
    EXPECT_THAT(given(Area::Vm, "vm", "cma_alloc_success_total"), HasSubstr("CONFIG_CMA"));
}

TEST(Absences, AnErrorBelongsToTheFamiliesOfItsFile) {
    zel::Sample sample = sampleOf(Area::Memory);
    zel::AreaState &state = sample.area(Area::Memory);
    state.error = EACCES;
    state.file = "proc/swaps";
    const std::vector<Lack> lacks = zel::lacksOf(sample);
    EXPECT_EQ(find(lacks, "swaps", "size_bytes")->reason, Absence::Denied);
    EXPECT_EQ(find(lacks, "swaps", "size_bytes")->failure, &state);
    EXPECT_EQ(find(lacks, "memory", "total_bytes")->failure, nullptr);
    EXPECT_EQ(find(lacks, "memory_nodes", "total_bytes")->reason, Absence::Unsupported);
    EXPECT_EQ(find(lacks, "memory_nodes", "total_bytes")->failure, nullptr);
}

TEST(Absences, AnErrorOfOneProcessBelongsToItsFileAlone) {
    zel::Sample sample = sampleOf(Area::Processes);
    zel::AreaState &state = sample.area(Area::Processes);
    state.error = EACCES;
    state.file = "proc/1/io";
    zel::Process &process = sample.processes.append();
    process.readBytes = process.descriptors = Absence::Denied;
    const std::vector<Lack> lacks = zel::lacksOf(sample);
    EXPECT_EQ(find(lacks, "processes", "read_bytes_total")->failure, &state);
    EXPECT_EQ(find(lacks, "processes", "descriptors")->failure, nullptr);
}

TEST(Absences, ALostAreaIsOneNameForEachSection) {
    zel::Sample sample = sampleOf(Area::Gpus);
    zel::AreaState &state = sample.area(Area::Gpus);
    state.absence = Absence::TimedOut;
    state.error = ETIMEDOUT;
    state.file = "libnvidia-ml.so.1";
    const std::string text = textOf(sample, zel::Format::Table, "/host");
    const std::string line = lineWith(text, "gpus");
    EXPECT_THAT(line, HasSubstr("  gpus, gpu_processes  timed out  "));
    EXPECT_THAT(line, HasSubstr("  libnvidia-ml.so.1: Connection timed out (ETIMEDOUT)"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3) << text; // heading, titles, the line
}

TEST(Absences, ALostAreaWithoutListsIsOneName) {
    zel::Sample sample = sampleOf(Area::Load);
    zel::AreaState &state = sample.area(Area::Load);
    state.absence = Absence::Denied;
    state.error = EACCES;
    state.file = "proc/loadavg";
    zel::forget(sample.load, Absence::Denied);
    EXPECT_THAT(
        textOf(sample, zel::Format::Table, "/host"),
        HasSubstr("  load  denied  root, with all capabilities  /host/proc/loadavg: Permission denied (EACCES)"));
}

TEST(Absences, FieldsWithTheSameReasonAndProviderShareALine) {
    zel::Sample sample = sampleOf(Area::Processes);
    zel::Process &process = sample.processes.append();
    for (const auto &field : zel::fieldsOf<zel::Process>())
        field.clear(process, Absence::NotYet);
    for (const auto &field : zel::fieldsOf<zel::ProcessTotals>())
        field.clear(sample.processTotals, Absence::NotYet);
    for (zel::Count *each : {&process.readCharacters, &process.writtenCharacters, &process.readCalls,
                             &process.writeCalls, &process.writtenBytes})
        *each = Absence::Unsupported;
    process.descriptors = Absence::Denied;
    const std::string text = textOf(sample);
    EXPECT_THAT(text, HasSubstr("ABSENT  6 families\n"));
    EXPECT_THAT(text, HasSubstr("  processes: read_characters_total, written_characters_total, read_calls_total and 2 "
                                "more  unsupported  CONFIG_TASK_IO_ACCOUNTING=y"));
    EXPECT_THAT(text, HasSubstr("  processes.descriptors "));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4) << text;
}

TEST(Absences, NothingIsSaidToBeNothing) {
    zel::Sample sample = sampleOf(Area::Load);
    sample.load.load1 = sample.load.load5 = sample.load.load15 = 0.5;
    sample.load.runnable = sample.load.entities = sample.load.lastPid = 1;
    EXPECT_EQ(textOf(sample), "ABSENT  nothing: every family has a value\n");
    EXPECT_EQ(textOf(sample, zel::Format::Json), "");
    EXPECT_EQ(textOf(sample, zel::Format::Csv), "area,section,name,reason,given_by,source,file,errno,error\r\n");
}

TEST(Absences, JsonAndCsvHaveALineForEveryFamily) {
    zel::Sample sample = sampleOf(Area::Load);
    zel::AreaState &state = sample.area(Area::Load);
    state.absence = Absence::Denied;
    state.error = EACCES;
    state.file = "proc/load\"avg";
    std::istringstream lines(textOf(sample, zel::Format::Json));
    std::string line;
    std::vector<std::string> names;
    while (std::getline(lines, line)) {
        const nlohmann::json lack = nlohmann::json::parse(line);
        names.push_back(lack.at("name"));
        EXPECT_EQ(lack.at("section"), "load");
        EXPECT_EQ(lack.at("reason"), "denied");
        EXPECT_EQ(lack.at("error").at("file"), "proc/load\"avg");
        EXPECT_EQ(lack.at("error").at("errno"), EACCES);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"load1", "load5", "load15", "runnable", "entities", "last_pid"}));
    const std::string csv = textOf(sample, zel::Format::Csv);
    EXPECT_THAT(csv, HasSubstr("load,load,load1,denied,\"root, with all capabilities\",/proc/loadavg,"
                               "\"proc/load\"\"avg\",13,Permission denied (EACCES)\r\n"));
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 7);
}

TEST(Absences, WhatIsNotKnownIsNullInJson) {
    const std::string first = lineWith(textOf(sampleOf(Area::Load), zel::Format::Json), "load1");
    const nlohmann::json lack = nlohmann::json::parse(first);
    EXPECT_TRUE(lack.at("given_by").is_null());
    EXPECT_FALSE(lack.contains("error"));
}

TEST(Absences, AFileThatWouldSteerATerminalDoesNot) {
    zel::Sample sample = sampleOf(Area::Load);
    zel::AreaState &state = sample.area(Area::Load);
    state.absence = Absence::Denied;
    state.error = EACCES;
    state.file = "proc/\033[2J";
    EXPECT_THAT(textOf(sample), Not(HasSubstr("\033")));
}

TEST(Failure, FilesAreThoseOfTheRoot) {
    EXPECT_EQ(zel::failedFile("/host", "proc/stat"), "/host/proc/stat");
    EXPECT_EQ(zel::failedFile("", "proc/stat"), "/proc/stat");
    EXPECT_EQ(zel::failedFile("/host", "proc"), "/host/proc");
    EXPECT_EQ(zel::failedFile("/host", "/"), "/");
}

TEST(Failure, ANameThatIsNoPathStaysAsItIs) {
    EXPECT_EQ(zel::failedFile("/host", "libnvidia-ml.so.1"), "libnvidia-ml.so.1");
    EXPECT_EQ(zel::failedFile("", "adjtimex"), "adjtimex");
    EXPECT_EQ(zel::failedFile("/host", ""), "");
    zel::AreaState state;
    state.asked = true;
    state.error = ENOENT;
    state.file = "libnvidia-ml.so.1";
    EXPECT_EQ(zel::failureText("gpus", "", state), "gpus: libnvidia-ml.so.1: No such file or directory (ENOENT)");
}

TEST(Failure, ANumberThatIsNoErrorHasNoText) {
    EXPECT_EQ(zel::errorText(0), "");
    EXPECT_EQ(zel::errorText(99999), "");
    EXPECT_EQ(zel::errorText(EACCES), "Permission denied (EACCES)");
}

} // namespace
