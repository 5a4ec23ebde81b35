// Finds what a sample has no value of.
#include "zel/Absences.h"

#include <algorithm>
#include <fnmatch.h>

namespace zel {

namespace {

constexpr std::string_view anyRight = "root, with all capabilities";
constexpr std::string_view ownerRight = "the user of the process, or CAP_SYS_PTRACE";
constexpr std::string_view answer = "a source that answers, or a longer --deadline";

// What says most about a host comes last.
int weightOf(Absence reason) {
    switch (reason) {
    case Absence::None:
    case Absence::NotAsked:
    case Absence::NotYet:
        return 0;
    case Absence::Unsupported:
        return 1;
    case Absence::Vanished:
        return 2;
    case Absence::Malformed:
        return 3;
    case Absence::TimedOut:
        return 4;
    case Absence::Denied:
        return 5;
    }
    return 0;
}

bool isLack(Absence reason) {
    return weightOf(reason) > 0;
}

// "/proc/<pid>/io" as a pattern of file names: "/proc/*/io".
std::string patternOf(std::string_view source) {
    std::string pattern;
    for (std::size_t at = 0; at < source.size(); ++at) {
        const std::size_t end = source[at] == '<' ? source.find('>', at) : std::string_view::npos;
        pattern += end == std::string_view::npos ? source[at] : '*';
        at = end == std::string_view::npos ? at : end;
    }
    return pattern;
}

// Whether a file is of those of the source, or a directory that they are all in.
bool isOf(std::string_view source, const std::string &file) {
    const std::string pattern = patternOf(source);
    return fnmatch(pattern.c_str(), file.c_str(), FNM_LEADING_DIR) == 0 ||
           pattern.substr(0, pattern.find('*')).starts_with(file + '/');
}

// Whether the file is one of those that a family is read from.
bool isSource(std::string_view sources, const std::string &file) {
    const std::string path = file.starts_with('/') ? file : '/' + file;
    constexpr std::string_view between = ", ";
    while (!sources.empty()) {
        const std::size_t end = std::min(sources.find(between), sources.size());
        if (isOf(sources.substr(0, end), path))
            return true;
        sources.remove_prefix(std::min(end + between.size(), sources.size()));
    }
    return false;
}

// Of an area that is lost as a whole its error, but for families that another file would give: that one was not even
// looked for, or is not there either.
const AreaState *failureOf(const Family &family, Absence reason, const AreaState &state) {
    const bool isAll = state.absence != Absence::None && reason != Absence::Unsupported;
    const bool isIts = state.error != 0 && absenceOf(state.error) == reason && isSource(family.source, state.file);
    return isAll || isIts ? &state : nullptr;
}

// Of a section that has nothing: what failed, when it belongs to it; else there is nothing to list.
Lack lackOfNothing(const Family &family, const AreaState &state) {
    const bool isIts = state.error != 0 && isSource(family.source, state.file);
    const Absence ofArea = state.absence != Absence::None ? state.absence : Absence::Unsupported;
    const Absence reason = isIts ? absenceOf(state.error) : ofArea;
    return {&family, reason, failureOf(family, reason, state), true};
}

// What a field has in the rows of its section.
struct Presence {
    bool hasRow = false, isThere = false;
    Absence reason = Absence::None;
};

Presence presenceOf(const AnySection<Sample> &section, std::size_t field, const Sample &sample) {
    Presence presence;
    for (std::size_t index = 0; index < section.size(sample); ++index) {
        const Value value = section.fields.value(section.row(sample, index), field);
        presence.hasRow = true;
        presence.isThere = presence.isThere || value.has() || !isLack(value.absence());
        if (!value.has() && weightOf(value.absence()) > weightOf(presence.reason))
            presence.reason = value.absence();
    }
    return presence;
}

void addLacks(const AnySection<Sample> &section, const Sample &sample, std::vector<Lack> &lacks) {
    const AreaState &state = sample.area(section.area);
    for (std::size_t field = 0; field < section.fields.families.size(); ++field) {
        const Family &family = *section.fields.families[field];
        if (family.kind == Kind::Label)
            continue;
        const Presence presence = presenceOf(section, field, sample);
        if (!presence.hasRow || state.absence != Absence::None)
            lacks.push_back(lackOfNothing(family, state));
        else if (!presence.isThere)
            lacks.push_back({&family, presence.reason, failureOf(family, presence.reason, state)});
    }
}

bool isSameLine(const Lack &left, const Lack &right) {
    if (left.family->section != right.family->section)
        return false;
    return (left.isOfNothing && right.isOfNothing) ||
           (left.reason == right.reason && left.failure == right.failure && givenBy(left) == givenBy(right));
}

// How many families of a section can be lacking.
std::size_t sizeOf(std::string_view name) {
    const auto section = std::ranges::find(sections(), name, &AnySection<Sample>::name);
    return static_cast<std::size_t>(std::ranges::count_if(
        section->fields.families, [](const Family *family) { return family->kind != Kind::Label; }));
}

} // namespace

std::vector<Lack> lacksOf(const Sample &sample) {
    std::vector<Lack> lacks;
    for (const AnySection<Sample> &section : sections()) {
        if (sample.area(section.area).asked)
            addLacks(section, sample, lacks);
    }
    return lacks;
}

std::string_view givenBy(const Lack &lack) {
    switch (lack.reason) {
    case Absence::Denied:
        return lack.family->rights == Rights::Owner ? ownerRight : anyRight;
    case Absence::TimedOut:
        return answer;
    case Absence::Unsupported:
        return lack.family->providedBy;
    default:
        return {};
    }
}

std::vector<LackGroup> grouped(std::span<const Lack> lacks) {
    std::vector<LackGroup> groups;
    for (const Lack &lack : lacks) {
        const auto same = std::find_if(groups.begin(), groups.end(),
                                       [&lack](const LackGroup &group) { return isSameLine(group.first(), lack); });
        if (same == groups.end())
            groups.push_back({{&lack}});
        else
            same->lacks.push_back(&lack);
    }
    for (LackGroup &group : groups)
        group.isWhole = group.lacks.size() == sizeOf(group.first().family->section);
    return groups;
}

} // namespace zel
