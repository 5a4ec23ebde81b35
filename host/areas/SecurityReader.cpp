// Reads the state of SELinux.
#include "host/areas/SecurityReader.h"

#include "host/source/AttributeText.h"

#include <algorithm>
#include <cerrno>

namespace zel {

namespace {

constexpr std::int64_t secondsBetweenConfigurations = 30;

} // namespace

// Sample: SELINUX=enforcing
void takeSelinuxMode(const char *text, Reading<std::string> &mode) {
    constexpr std::string_view key = "SELINUX=", modes[] = {"enforcing", "permissive", "disabled"};
    mode.clear(Absence::Unsupported);
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        if (!startsWith(line, key))
            continue;
        const char *cursor = line + key.size();
        const std::string_view word = trimmed(takeWord(cursor));
        if (std::find(std::begin(modes), std::end(modes), word) != std::end(modes))
            mode.set(word);
        else
            mode.clear(Absence::Malformed);
    }
}

void SecurityReader::readConfiguration(Take &take, Reading<std::string> &configured) {
    const std::int64_t now = coarseSeconds();
    if (!take.root.own() || now - m_configuredAt >= secondsBetweenConfigurations) {
        m_configuredAt = now;
        SourceFile file("etc/selinux/config", Records::Many, KeptScope::Never);
        int error = file.read(take.root);
        if (error != 0)
            m_configured.clear(absenceOf(error));
        else
            takeSelinuxMode(file.text().data(), m_configured);
        if (m_configured.absence() == Absence::Malformed && error == 0)
            error = NOT_ITS_FORMAT;
        noteUnlessMissing(take.sample.area(Area::Limits), error, file.path());
    }
    configured.assign(m_configured);
}

// Where its file system is not there, it is not enabled.
void SecurityReader::read(Take &take) {
    SecurityModules &security = take.sample.securityModules;
    security.selinuxEnforcing = m_enforce.number(take.root);
    noteUnlessMissing(take.sample.area(Area::Limits), m_enforce.error(), m_enforce.path());
    security.selinuxEnabled = m_enforce.error() == ENOENT ? Count(0) : Count(1);
    if (m_enforce.error() == ENOENT)
        security.selinuxConfigured.clear(Absence::Unsupported);
    else
        readConfiguration(take, security.selinuxConfigured);
}

} // namespace zel
