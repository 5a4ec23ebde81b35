// Merges the families of several files: the first file decides on type and help, a series is taken once.
#include "zel/serve/TextfileMerge.h"

namespace zel {

TextfileMerge::TextfileMerge() {
    for (const std::string_view own : {TEXTFILE_TIME_FAMILY, TEXTFILE_ERROR_FAMILY})
        m_owners.emplace(own, "the server");
}

void TextfileMerge::add(const std::string &path, const std::vector<TextFamily> &families,
                        std::vector<std::string> &problems) {
    for (const TextFamily &family : families)
        addFamily(path, family, problems);
}

// False when another family has one of its names: in one of the two formats the text would be invalid.
bool TextfileMerge::takeNames(const std::string &path, const TextFamily &family, std::vector<std::string> &problems) {
    const std::vector<std::string> names = namesOf(family);
    for (const std::string &name : names) {
        const auto owner = m_owners.find(name);
        if (owner == m_owners.end() || owner->second == family.name)
            continue;
        std::string problem = path + ": " + family.name;
        problems.push_back(
            problem.append(" is left out: ").append(name).append(" is a name of ").append(owner->second));
        return false;
    }
    for (const std::string &name : names)
        m_owners.emplace(name, family.name);
    return true;
}

void TextfileMerge::addFamily(const std::string &path, const TextFamily &family, std::vector<std::string> &problems) {
    if (!takeNames(path, family, problems))
        return;
    const auto [place, isNew] = m_families.try_emplace(family.name);
    Merged &merged = place->second;
    if (isNew) {
        merged.family = family;
        merged.family.series.clear();
    }
    if (merged.family.type != family.type) {
        problems.push_back(path + ": " + family.name + " has another type than in " + merged.paths);
        return;
    }
    if (merged.family.hasHelp && family.hasHelp && merged.family.help != family.help) {
        problems.push_back(path + ": " + family.name + " has another help text than in " + merged.paths);
        return;
    }
    if (family.hasHelp) {
        merged.family.hasHelp = true;
        merged.family.help = family.help;
    }
    merged.paths += (merged.paths.empty() ? "" : ", ") + path;
    bool isTwice = false;
    for (const TextSeries &series : family.series) {
        if (merged.keys.insert(series.suffix + '{' + series.labels).second)
            merged.family.series.push_back(series);
        else
            isTwice = true;
    }
    if (isTwice)
        problems.push_back(path + ": " + family.name + " has a series that is there already");
}

std::vector<TextfileContent::Family> TextfileMerge::finish() const {
    std::vector<TextfileContent::Family> families;
    for (const auto &[name, merged] : m_families) {
        TextFamily family = merged.family;
        if (!family.hasHelp)
            family.help = "Read from the text file " + merged.paths + ".";
        TextfileContent::Family &written = families.emplace_back();
        written.name = name;
        written.paths = merged.paths;
        written.names = namesOf(family, MetricFormat::PrometheusText);
        written.openNames = namesOf(family, MetricFormat::OpenMetrics);
        appendFamily(family, MetricFormat::PrometheusText, written.text);
        appendFamily(family, MetricFormat::OpenMetrics, written.openText);
    }
    return families;
}

} // namespace zel
