// Reads NFS: the mounts, and the counters of client and server. Everything is in the kernel's own memory.
#include "host/areas/AreaReader.h"
#include "host/areas/NfsMountLines.h"
#include "host/areas/RpcLines.h"
#include "host/source/DeviceTable.h"

#include <cerrno>
#include <span>
#include <vector>

namespace zel {

namespace {

constexpr std::size_t mountsAtMost = 65536; // more is no host: a file that goes on is not believed

// The file names every mount of the host: while none of them is of NFS, it is looked at again after this time.
constexpr std::int64_t secondsBeforeNextLook = 10;

class NfsReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Sample &sample = take.sample;
        sample.nfsClientCalls.clear();
        sample.nfsServerCalls.clear();
        readMounts(take);
        const bool client = readCounters(take, m_client, [&sample](const char *text) {
            return parseNfsClient(text, sample.nfsClient, sample.nfsClientCalls);
        });
        if (!client)
            forget(sample.nfsClient, absenceOf(m_error));
        const bool server = readCounters(take, m_server, [&sample](const char *text) {
            return parseNfsServer(text, sample.nfsServer, sample.nfsServerCalls);
        });
        if (!server)
            forget(sample.nfsServer, absenceOf(m_error));
        const AreaState &state = sample.area(Area::Nfs);
        if (!client && !server && sample.nfsMounts.empty())
            loseArea(sample, Area::Nfs, state.error == 0 ? ENOENT : state.error, m_client[1].path());
    }

private:
    void readMounts(Take &take) {
        Sample &sample = take.sample;
        sample.nfsMounts.clear();
        sample.nfsOperations.clear();
        sample.nfsTransports.clear();
        if (take.root.own() && coarseSeconds() - m_noneAt < secondsBeforeNextLook)
            return;
        m_noneAt = LONG_AGO;
        AreaState &state = sample.area(Area::Nfs);
        const SourceFile &file = readFirst(take.root, m_mounts);
        if (m_error != 0)
            return noteUnlessMissing(state, m_error, file.path());
        findMounts(state, file);
        for (const char *line : m_lines) {
            NfsMountRows rows{sample.nfsMounts.append(), sample.nfsOperations, sample.nfsTransports};
            if (!parseNfsMount(line, nextMount(line), rows))
                noteFailure(state, NOT_ITS_FORMAT, file.path());
        }
        if (m_lines.empty())
            m_noneAt = coarseSeconds();
    }

    // The lines with which mounts of NFS begin; of those that are the same the last.
    void findMounts(AreaState &state, const SourceFile &file) {
        m_lines.clear();
        m_known.startSample();
        ++m_sample;
        const char *line = file.text().data();
        if (nfsMountLine(line).empty())
            line = nextMount(line);
        for (; *line != '\0'; line = nextMount(line)) {
            const std::string_view name = nfsMountLine(line);
            if (name.empty())
                continue;
            if (m_lines.size() == mountsAtMost)
                return noteFailure(state, E2BIG, file.path());
            Place &place = m_known.of(name);
            if (place.sample != m_sample)
                m_lines.push_back(nullptr);
            place = {m_sample, place.sample != m_sample ? m_lines.size() - 1 : place.index};
            m_lines[place.index] = line;
        }
        m_known.endSample();
    }

    // Below a root directory the files are those of the first process: "self" is this one, in another root.
    const SourceFile &readFirst(const HostDirectory &root, std::span<SourceFile> files) {
        SourceFile *file = &files[root.own() ? 1 : 0];
        m_error = file->read(root);
        if (m_error == ENOENT && file == files.data())
            m_error = (++file)->read(root);
        return *file;
    }

    // False when there is no such file, for the reason in m_error.
    template<class Parse> bool readCounters(Take &take, std::span<SourceFile> files, Parse parse) {
        const SourceFile &file = readFirst(take.root, files);
        AreaState &state = take.sample.area(Area::Nfs);
        if (m_error != 0) {
            noteUnlessMissing(state, m_error, file.path());
            return false;
        }
        if (!parse(file.text().data()))
            noteFailure(state, NOT_ITS_FORMAT, file.path());
        return true;
    }

    // Where a mount is among those of a sample.
    struct Place {
        unsigned long sample = 0;
        std::size_t index = 0;
    };

    SourceFile m_mounts[2] = {SourceFile("proc/1/mountstats", Records::Many, KeptScope::Never),
                              SourceFile("proc/self/mountstats", Records::Many, KeptScope::Never)};
    SourceFile m_client[2] = {SourceFile("proc/1/net/rpc/nfs", Records::One, KeptScope::Namespace),
                              SourceFile("proc/net/rpc/nfs", Records::One, KeptScope::Namespace)};
    SourceFile m_server[2] = {SourceFile("proc/1/net/rpc/nfsd", Records::One, KeptScope::Namespace),
                              SourceFile("proc/net/rpc/nfsd", Records::One, KeptScope::Namespace)};
    std::vector<const char *> m_lines;
    DeviceTable<Place> m_known;
    unsigned long m_sample = 0;
    std::int64_t m_noneAt = LONG_AGO; // of a coarse monotonic clock: when there was no mount of NFS
    int m_error = 0;
};

} // namespace

std::unique_ptr<AreaReader> nfsReader() {
    return std::make_unique<NfsReader>();
}

} // namespace zel
