// Reads which host this is. What does not change while it runs is read once.
#include "host/areas/AreaReader.h"
#include "host/source/Attribute.h"
#include "text/NumberScan.h"

namespace zel {

namespace {

// The value of `key` in a file of KEY=value lines, which shells read too: it may be in quotes.
// Sample: PRETTY_NAME="Debian GNU/Linux 12 (bookworm)"
void takeAssignment(const char *line, std::string_view key, Reading<std::string> &reading) {
    reading.clear(Absence::Unsupported);
    for (; *line != '\0'; line = nextLine(line)) {
        if (std::strncmp(line, key.data(), key.size()) != 0 || line[key.size()] != '=')
            continue;
        const char *value = line + key.size() + 1;
        const char quote = *value == '"' || *value == '\'' ? *value++ : '\n';
        const std::size_t length = std::strcspn(value, quote == '"' ? "\"\n" : quote == '\'' ? "'\n" : "\n");
        return reading.set(std::string_view(value, length));
    }
}

class IdentityReader : public AreaReader {
public:
    void read(Take &take) override {
        Identity &identity = take.sample.identity;
        m_hostName.text(take.root, identity.hostName);
        m_domainName.text(take.root, identity.domainName);
        m_kernelName.text(take.root, identity.kernelName);
        m_kernelRelease.text(take.root, identity.kernelRelease);
        m_kernelVersion.text(take.root, identity.kernelVersion);
        m_architecture.text(take.root, identity.architecture);
        m_bootId.text(take.root, identity.bootId);
        readRelease(take.root, identity);
        readUptime(take);
    }

private:
    void readRelease(const HostDirectory &root, Identity &identity) {
        int error = m_release.read(root);
        if (error != 0)
            error = m_vendorRelease.read(root);
        const SourceFile &file = m_release.text().empty() ? m_vendorRelease : m_release;
        const char *text = error == 0 ? file.text().data() : "";
        takeAssignment(text, "ID", identity.osId);
        takeAssignment(text, "NAME", identity.osName);
        takeAssignment(text, "VERSION_ID", identity.osVersion);
        takeAssignment(text, "PRETTY_NAME", identity.osPrettyName);
    }

    // Sample: 2656.11 5023.43
    void readUptime(Take &take) {
        Identity &identity = take.sample.identity;
        if (const int error = m_uptime.read(take.root); error != 0) {
            noteFailure(take.sample.area(Area::Identity), error, m_uptime.path());
            identity.uptimeSeconds = identity.idleSeconds = absenceOf(error);
            return;
        }
        const char *cursor = m_uptime.text().data();
        for (Number *reading : {&identity.uptimeSeconds, &identity.idleSeconds}) {
            double seconds = 0;
            *reading = scanDouble(cursor, seconds) ? Number(seconds) : Number(Absence::Malformed);
        }
    }

    Attribute m_hostName{"proc/sys/kernel/hostname"}, m_domainName{"proc/sys/kernel/domainname"};
    Attribute m_kernelName{"proc/sys/kernel/ostype"}, m_kernelRelease{"proc/sys/kernel/osrelease"};
    Attribute m_kernelVersion{"proc/sys/kernel/version"}, m_architecture{"proc/sys/kernel/arch"};
    Attribute m_bootId{"proc/sys/kernel/random/boot_id"};
    SourceFile m_release{"etc/os-release"}, m_vendorRelease{"usr/lib/os-release"};
    SourceFile m_uptime{"proc/uptime"};
};

} // namespace

std::unique_ptr<AreaReader> identityReader() {
    return std::make_unique<IdentityReader>();
}

} // namespace zel
