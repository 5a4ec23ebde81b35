// Reads which host this is. What does not change while it runs is read once.
#include "host/areas/AreaReader.h"
#include "host/areas/DmiTexts.h"
#include "host/areas/Virtualisation.h"
#include "host/source/Attribute.h"
#include "host/source/Clocks.h"
#include "host/source/LineScan.h"

#include <utility>
#include <vector>

namespace zel {

namespace {

constexpr std::size_t valueLimit = 1024;
constexpr std::string_view nameThatIsNotSet = "(none)";

// The characters that a backslash makes plain between double quotes.
bool isEscapable(char character) {
    return character == '"' || character == '\\' || character == '$' || character == '`';
}

// The value at the cursor of a line that shells read too: words, quotes and backslashes. One whose quotes do not end in
// its line is malformed.
// Sample: "Debian GNU/Linux 12 (bookworm)"
bool takeShellValue(const char *cursor, std::string &value) {
    value.clear();
    char quote = '\0';
    for (; !endsLine(*cursor) && value.size() < valueLimit; ++cursor) {
        if (quote == '\0' && isSpace(*cursor))
            break;
        if (*cursor == quote || (quote == '\0' && (*cursor == '"' || *cursor == '\''))) {
            quote = quote == '\0' ? *cursor : '\0';
            continue;
        }
        const bool escapes =
            *cursor == '\\' && !endsLine(cursor[1]) && (quote == '\0' || (quote == '"' && isEscapable(cursor[1])));
        cursor += escapes ? 1 : 0;
        value += *cursor;
    }
    return quote == '\0';
}

// The last assignment counts, as for a shell. Without one, or with an empty value, it is unsupported.
void takeAssignment(const char *line, std::string_view key, std::string &scratch, Reading<std::string> &reading) {
    reading.clear(Absence::Unsupported);
    for (; *line != '\0'; line = nextLine(line)) {
        if (!startsWith(line, key) || line[key.size()] != '=')
            continue;
        if (!takeShellValue(line + key.size() + 1, scratch))
            reading.clear(Absence::Malformed);
        else if (scratch.empty())
            reading.clear(Absence::Unsupported);
        else
            reading.set(scratch);
    }
}

struct Fact {
    const char *path;
    Reading<std::string> Identity::*member;
};

// What can change while the host runs, and what cannot.
constexpr Fact names[] = {{"proc/sys/kernel/hostname", &Identity::hostName},
                          {"proc/sys/kernel/domainname", &Identity::domainName}};
constexpr Fact constants[] = {{"proc/sys/kernel/ostype", &Identity::kernelName},
                              {"proc/sys/kernel/osrelease", &Identity::kernelRelease},
                              {"proc/sys/kernel/version", &Identity::kernelVersion},
                              {"proc/sys/kernel/arch", &Identity::architecture},
                              {"proc/sys/kernel/random/boot_id", &Identity::bootId}};

constexpr Fact machineNames[] = {{"sys/class/dmi/id/sys_vendor", &Identity::machineVendor},
                                 {"sys/class/dmi/id/product_name", &Identity::machineName}};

// The keys of os-release.
constexpr std::pair<std::string_view, Reading<std::string> Identity::*> releaseKeys[] = {
    {"ID", &Identity::osId},
    {"NAME", &Identity::osName},
    {"VERSION_ID", &Identity::osVersion},
    {"PRETTY_NAME", &Identity::osPrettyName},
    {"ID_LIKE", &Identity::osIdLike},
    {"VERSION", &Identity::osVersionName},
    {"VERSION_CODENAME", &Identity::osCodename},
    {"BUILD_ID", &Identity::osBuildId},
    {"IMAGE_ID", &Identity::osImageId},
    {"IMAGE_VERSION", &Identity::osImageVersion},
    {"VARIANT", &Identity::osVariant},
    {"VARIANT_ID", &Identity::osVariantId},
};

class IdentityReader : public AreaReader {
public:
    IdentityReader() {
        for (const Fact &fact : names)
            m_names.emplace_back(fact.path);
    }

    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Identity &identity = take.sample.identity;
        for (std::size_t index = 0; index < std::size(names); ++index)
            readText(take, m_names[index], identity.*names[index].member);
        if (identity.domainName && *identity.domainName == nameThatIsNotSet)
            identity.domainName.clear(Absence::Unsupported);
        readDescription(take);
        readUptime(take);
    }

private:
    static constexpr std::int64_t SECONDS_BETWEEN_DESCRIPTIONS = 30;

    // An old kernel has not all of the files.
    static void readText(Take &take, Attribute &file, Reading<std::string> &reading) {
        file.text(take.root, reading);
        noteUnlessMissing(take.sample.area(Area::Identity), file.error(), file.path());
    }

    // What lasts is read now and then, and copied into the samples between.
    void readDescription(Take &take) {
        const std::int64_t now = coarseSeconds();
        Identity &identity = take.sample.identity;
        if (!take.root.own() || now - m_describedAt >= SECONDS_BETWEEN_DESCRIPTIONS) {
            for (const Fact &fact : constants) {
                Attribute file(fact.path, KeptScope::Never);
                readText(take, file, m_description.*fact.member);
            }
            readRelease(take);
            readMachine(take);
            m_describedAt = now;
        }
        for (const Fact &fact : constants)
            (identity.*fact.member).assign(m_description.*fact.member);
        for (const auto &[key, member] : releaseKeys)
            (identity.*member).assign(m_description.*member);
        for (auto member :
             {&Identity::virtualisation, &Identity::container, &Identity::machineVendor, &Identity::machineName})
            (identity.*member).assign(m_description.*member);
        assignDmi(m_dmi, take.sample.dmi);
    }

    void readMachine(Take &take) {
        readVirtualisation(take.root, m_description.virtualisation);
        readContainer(take.root, m_description.container);
        for (const Fact &fact : machineNames) {
            Attribute file(fact.path, KeptScope::Never);
            readText(take, file, m_description.*fact.member);
        }
        const int error = readDmi(take.root, m_dmi);
        noteUnlessMissing(take.sample.area(Area::Identity), error, DMI_DIRECTORY);
    }

    // The first of the two files that exists counts. Values without a file have its reason.
    void readRelease(Take &take) {
        SourceFile release("etc/os-release", Records::Many, KeptScope::Never);
        SourceFile vendor("usr/lib/os-release", Records::Many, KeptScope::Never);
        int error = release.read(take.root);
        const SourceFile &file = error == ENOENT ? vendor : release;
        if (error == ENOENT)
            error = vendor.read(take.root);
        noteUnlessMissing(take.sample.area(Area::Identity), error, file.path());
        for (const auto &[key, member] : releaseKeys) {
            if (error == 0)
                takeAssignment(file.text().data(), key, m_scratch, m_description.*member);
            else
                (m_description.*member).clear(absenceOf(error));
            if (error == 0 && (m_description.*member).absence() == Absence::Malformed)
                noteFailure(take.sample.area(Area::Identity), NOT_ITS_FORMAT, file.path());
        }
    }

    // Sample: 2656.11 5023.43
    void readUptime(Take &take) {
        Identity &identity = take.sample.identity;
        int error = m_uptime.read(take.root);
        identity.uptimeSeconds = identity.idleSeconds = absenceOf(error);
        if (error == 0) {
            const char *cursor = m_uptime.text().data();
            identity.uptimeSeconds = takeDecimal(cursor);
            identity.idleSeconds = identity.uptimeSeconds ? takeDecimal(cursor) : Number(Absence::Malformed);
            error = identity.idleSeconds ? 0 : NOT_ITS_FORMAT;
        }
        if (error != 0)
            noteFailure(take.sample.area(Area::Identity), error, m_uptime.path());
    }

    std::vector<Attribute> m_names;
    Identity m_description;
    Dmi m_dmi;
    std::int64_t m_describedAt = LONG_AGO;
    std::string m_scratch;
    SourceFile m_uptime{"proc/uptime"};
};

} // namespace

std::unique_ptr<AreaReader> identityReader() {
    return std::make_unique<IdentityReader>();
}

} // namespace zel
