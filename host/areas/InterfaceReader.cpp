// Reads the interfaces: the lines of /proc/net/dev, what there is to say of each interface below /sys/class/net, and
// the ports of InfiniBand.
#include "host/FileIdentity.h"
#include "host/HostOpen.h"
#include "host/areas/AreaReader.h"
#include "host/areas/InfinibandPorts.h"
#include "host/areas/InterfaceDetails.h"
#include "host/areas/InterfaceLines.h"
#include "host/source/BoundedReads.h"
#include "host/source/DeviceAttributes.h"
#include "host/source/DeviceTable.h"
#include "host/source/LinkNews.h"
#include "host/source/Refresh.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <utility>

namespace zel {

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr const char *netFile = "proc/net/dev";
constexpr const char *netFileOfThread = "proc/thread-self/net/dev"; // kernel 3.17 and later
constexpr const char *netFileOfInit = "proc/1/net/dev";
constexpr const char *netDirectory = "sys/class/net";
constexpr std::size_t interfacesAtMost = 65536; // more is no host: a file that goes on is not believed
constexpr std::size_t linesOfHeading = 2;

// How long what is known holds without an announcement (see host/Interface.h).
constexpr std::chrono::seconds detailPeriod{300};
constexpr std::chrono::seconds linkPeriod{30};

// What is known of an interface from one sample to the next.
struct KnownInterface {
    Time lookedAt;            // the sample
    Time detailsDue, linkDue; // at once
    Interface values;         // of its attributes
    bool isBond = false;
    BondDetails bond;
    bool hasPorts = false;     // of a bond, team or failover pair
    bool lacksHandler = false; // or may: see mayLackHandler()
    KeptDescriptor noHandler;  // its file then
};

class InterfaceReader : public AreaReader {
public:
    void read(Take &take) override {
        if (const int error = readLines(take.root); error != 0)
            return loseArea(take.sample, Area::Interfaces, error, netFile);
        m_now = std::chrono::steady_clock::now();
        if (take.root.own())
            m_news.take();
        takeLines(take);
        readAttributes(take);
        if (!take.root.own())
            readLinks(take);
        for (std::size_t index = 0; index < m_rows.size(); ++index)
            fill(m_rows[index]->values, take.sample.interfaces[index]);
        m_infiniband.read(take);
        if (!take.root.own())
            takeBonds(take.sample);
    }

    // Speed, duplex and carrier, by a bounded call of each interface.
    void ask(Take &take) override {
        if (!take.root.own())
            return;
        m_infiniband.ask(take);
        m_links.begin(take.deadline, m_due.size());
        for (const std::size_t index : m_due) {
            const std::string &name = take.sample.interfaces[index].name;
            const bool isBond = m_rows[index]->isBond;
            m_links.ask(name, [root = HostDirectory(take.root), name, isBond](LinkDetails &link) {
                readLink(root, name, isBond, link);
                return 0;
            });
        }
    }

    void finish(Take &take) override {
        if (!take.root.own())
            return;
        for (std::size_t place = 0; place < m_due.size(); ++place) {
            KnownInterface &known = *m_rows[m_due[place]];
            Interface &interface = take.sample.interfaces[m_due[place]];
            takeAnswer(take.sample.area(Area::Interfaces), m_links.wait(place), interface.name, known);
            fillLink(known.values, interface);
        }
        takeBonds(take.sample);
        m_infiniband.finish(take);
    }

private:
    // The file of this host is opened in each sample: one that stays open would keep the namespace that it was opened
    // in, which the thread may have left.
    int readLines(const HostDirectory &root) {
        ScopedDescriptor file = root.open(root.own() ? netFileOfThread : netFileOfInit, HOST_FILE_FLAGS);
        if (!file.valid())
            file = root.open(netFile, HOST_FILE_FLAGS);
        if (!file.valid())
            return errno;
        if (root.own())
            noteNamespace(root, file.get());
        return m_lines.readOpen(file.get());
    }

    void noteNamespace(const HostDirectory &root, int file) {
        struct stat status {};
        const bool same = fstat(file, &status) == 0 && identityOf(status) == m_namespace;
        if (!same || !m_news.listens())
            m_news.listen(root.kept());
        if (!same)
            m_known = {};
        m_namespace = identityOf(status);
    }

    void takeLines(Take &take) {
        AreaState &state = take.sample.area(Area::Interfaces);
        Rows<Interface> &interfaces = take.sample.interfaces;
        interfaces.clear();
        take.sample.bonds.clear();
        take.sample.bondPorts.clear();
        m_rows.clear();
        m_known.startSample();
        std::size_t number = 0;
        for (const char *line = m_lines.text().data(); *line != '\0'; line = nextLine(line), ++number) {
            if (interfaces.size() == interfacesAtMost) {
                noteFailure(state, E2BIG, netFile);
                break;
            }
            Interface &interface = interfaces.append();
            if (parseInterfaceLine(line, interface)) {
                m_rows.push_back(&m_known.of(interface.name));
                continue;
            }
            interfaces.dropLast();
            if (number >= linesOfHeading)
                noteFailure(state, NOT_ITS_FORMAT, netFile);
        }
        m_known.endSample();
    }

    void readAttributes(Take &take) {
        std::optional<OwnNamespace> own;
        m_due.clear();
        m_bonds.clear();
        for (std::size_t index = 0; index < m_rows.size(); ++index) {
            const std::string &name = take.sample.interfaces[index].name;
            KnownInterface &known = *m_rows[index];
            if (std::exchange(known.lookedAt, m_now) == m_now)
                continue; // a name that no kernel gives twice
            if (isDue(take.root, known))
                readDetails(take, own, name, known);
            else if (known.lacksHandler)
                readNoHandler(take.root, name, known);
            m_due.push_back(index);
            if (known.isBond)
                m_bonds.push_back(index);
        }
        std::erase_if(m_due, [this](std::size_t index) { return m_now < m_rows[index]->linkDue; });
    }

    bool isDue(const HostDirectory &root, const KnownInterface &known) const {
        return !root.own() || m_now >= known.detailsDue || m_news.areOfAll() ||
               (known.values.index && m_news.isOf(static_cast<unsigned>(*known.values.index)));
    }

    void readDetails(Take &take, std::optional<OwnNamespace> &own, const std::string &name, KnownInterface &known) {
        Interface &values = known.values;
        if (take.root.own() && std::chrono::steady_clock::now() >= take.deadline)
            return postpone(take.sample.area(Area::Interfaces), known);
        readInterfaceDetails(take.root, name, values);
        known.noHandler.drop(); // another interface may have the name now
        noteMaster(known);
        known.linkDue = Time();
        known.detailsDue = m_now + spread(detailPeriod, name);
        if (!take.root.own())
            return;
        if (!own)
            own.emplace();
        if (own->holds(name, values))
            return;
        forgetAttributes(known, Absence::Unsupported);
        values.index = own->indexOf(name);
        known.linkDue = Time::max();
        known.detailsDue = m_now + spread(linkPeriod, name); // it may have changed while it was looked at
    }

    // What a bond says of its ports may have changed with one of them. What a port drops counts at its master too.
    void noteMaster(KnownInterface &known) {
        const Interface &values = known.values;
        const bool drops = mayLackHandler(values);
        known.isBond = values.role && *values.role == "bond";
        known.lacksHandler = drops || known.hasPorts;
        KnownInterface *master = drops && values.master ? m_known.find(*values.master) : nullptr;
        if (master == nullptr)
            return;
        master->lacksHandler = master->hasPorts = true;
        if (master->linkDue != Time::max())
            master->linkDue = Time();
    }

    static void readNoHandler(const HostDirectory &root, const std::string &name, KnownInterface &known) {
        DeviceAttributes files(root, netDirectory, name);
        known.values.receiveNoHandler = files.number(NO_HANDLER_FILE, known.noHandler);
    }

    // Thousands of interfaces that are all new may take longer than there is: the rest is for the next samples.
    static void postpone(AreaState &state, KnownInterface &known) {
        noteFailure(state, ETIMEDOUT, netDirectory);
        forgetAttributes(known, Absence::TimedOut);
        known.detailsDue = Time();
        known.linkDue = Time::max();
    }

    static void forgetAttributes(KnownInterface &known, Absence reason) {
        Interface &values = known.values;
        for (const auto member : INTERFACE_COUNTS)
            (values.*member).clear(reason);
        for (const auto member : INTERFACE_TEXTS)
            (values.*member).clear(reason);
        known.isBond = known.lacksHandler = false;
        clearLink(known, reason);
    }

    static void clearLink(KnownInterface &known, Absence reason) {
        Interface &values = known.values;
        for (Count *count : {&values.speedBytesPerSecond, &values.duplexKnown, &values.carrier})
            count->clear(reason);
        values.duplex.clear(reason);
        known.bond.lose(reason);
    }

    static void readLink(const HostDirectory &root, const std::string &name, bool isBond, LinkDetails &link) {
        readLinkDetails(root, name, link);
        if (isBond)
            readBond(root, name, link.bond);
    }

    // Below a root directory the whole area is a bounded call.
    void readLinks(const Take &take) {
        LinkDetails link;
        for (const std::size_t index : m_due) {
            KnownInterface &known = *m_rows[index];
            readLink(take.root, take.sample.interfaces[index].name, known.isBond, link);
            takeLink(link, known);
        }
    }

    void takeAnswer(AreaState &state, const BoundedRead<LinkDetails> &read, const std::string &name,
                    KnownInterface &known) const {
        if (read.answer == nullptr) {
            clearLink(known, absenceOf(read.error));
            const std::string file = netDirectory + ("/" + name) + "/speed";
            noteFailure(state, read.error, file);
            if (read.error == ETIMEDOUT)
                noteSilence(state, read.silentSeconds, file);
            return; // it is asked again in the next sample
        }
        takeLink(*read.answer, known);
        known.linkDue = m_now + spread(linkPeriod, name);
    }

    static void takeLink(const LinkDetails &link, KnownInterface &known) {
        fillLink(link, known.values);
        if (known.isBond)
            known.bond = link.bond;
    }

    void takeBonds(Sample &sample) const {
        for (const std::size_t index : m_bonds) {
            const KnownInterface &known = *m_rows[index];
            Bond &bond = sample.bonds.append();
            bond = known.bond.bond;
            bond.name = sample.interfaces[index].name;
            for (const BondPort &port : known.bond.ports)
                sample.bondPorts.append() = port;
        }
    }

    static void fill(const Interface &values, Interface &interface) {
        for (const auto member : INTERFACE_COUNTS)
            interface.*member = values.*member;
        for (const auto member : INTERFACE_TEXTS)
            (interface.*member).assign(values.*member);
        fillLink(values, interface);
    }

    // From an interface or an answer.
    template<class Link> static void fillLink(const Link &link, Interface &interface) {
        interface.speedBytesPerSecond = link.speedBytesPerSecond;
        interface.duplex.assign(link.duplex);
        interface.duplexKnown = link.duplexKnown;
        interface.carrier = link.carrier;
    }

    SourceFile m_lines{netFile, Records::Many};
    FileIdentity m_namespace;
    LinkNews m_news;
    DeviceTable<KnownInterface> m_known;
    BoundedReads<LinkDetails> m_links{"link"};
    InfinibandPorts m_infiniband;
    std::vector<KnownInterface *> m_rows; // by place in the sample
    std::vector<std::size_t> m_due;       // places
    std::vector<std::size_t> m_bonds;     // places
    Time m_now;
};

} // namespace

std::unique_ptr<AreaReader> interfaceReader() {
    return std::make_unique<InterfaceReader>();
}

} // namespace zel
