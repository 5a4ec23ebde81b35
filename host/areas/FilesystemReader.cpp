// Reads the mount table, and asks every mount for its sizes: those that cannot hang at once, the others by calls that
// are held to the deadline.
#include "host/areas/AreaReader.h"
#include "host/areas/MountSize.h"
#include "host/areas/MountTable.h"
#include "host/source/BoundedReads.h"
#include "kernel/DoubtfulMounts.h"

#include <cerrno>
#include <fcntl.h>
#include <iterator>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace zel {

namespace {

struct MountAnswer {
    struct statfs64 status {};
    bool slow = false;
};

struct TableFile {
    SourceFile file;
    MountTable::Format format;
};

void describe(const Mount &mount, Filesystem &filesystem) {
    filesystem.mountId = mount.id;
    filesystem.parentId = mount.parent;
    filesystem.major = mount.major;
    filesystem.minor = mount.minor;
    filesystem.mountPoint = mount.mountPoint;
    filesystem.device = mount.device;
    filesystem.type = mount.type;
    filesystem.root = mount.root;
    filesystem.options = mount.options;
    filesystem.superOptions = mount.superOptions;
    filesystem.propagation = mount.propagation;
    filesystem.readOnly = mount.readOnly;
    filesystem.hidden = mount.hidden;
}

class FilesystemReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        m_doubtful.clear();
        m_otherView = take.root.own() && take.options.firstMounts;
        if (const int error = readTable(take.root); error != 0)
            return loseArea(sample, Area::Filesystems, error, m_file->path());
        if (m_table.malformedLines() > 0)
            noteFailure(sample.area(Area::Filesystems), NOT_ITS_FORMAT, m_file->path());
        for (const Mount &mount : m_table.mounts())
            m_doubts.note(mount); // all of them first: a later one may be on the way to an earlier one
        const bool live = isLive(take.root);
        SlowWatch watch;
        sample.filesystems.clear();
        for (std::size_t index = 0; index < m_table.mounts().size(); ++index) {
            const Mount &mount = m_table.mounts()[index];
            Filesystem &filesystem = sample.filesystems.append();
            describe(mount, filesystem);
            if (!live || !canBeAsked(mount))
                setNoSizes(EOPNOTSUPP, filesystem);
            else if (m_doubts.mayHang(mount.mountPoint))
                m_doubtful.push_back({index, 0});
            else
                askNow(take, mount, filesystem, watch);
        }
    }

    void ask(Take &take) override {
        m_calls.begin(take.deadline, m_doubtful.size());
        for (Doubtful &doubtful : m_doubtful) {
            const Mount &mount = m_table.mounts()[doubtful.mount];
            const WantedMount wanted = wantedMount(take, mount);
            m_subject.assign(take.options.root).append(" ").append(std::to_string(*mount.id)).append(" ");
            doubtful.call = m_calls.ask(m_subject.append(mount.mountPoint), [wanted](MountAnswer &answer) {
                SlowWatch watch;
                const int error = askWantedMount(wanted, answer.status);
                answer.slow = watch.wasSlow();
                return error;
            });
        }
    }

    void finish(Take &take) override {
        for (const Doubtful &doubtful : m_doubtful) {
            const Mount &mount = m_table.mounts()[doubtful.mount];
            Filesystem &filesystem = take.sample.filesystems[doubtful.mount];
            const BoundedRead<MountAnswer> read = m_calls.wait(doubtful.call);
            if (read.error == ETIMEDOUT && read.silentSeconds > 0) {
                setStuck(read.silentSeconds, filesystem);
                noteSilence(take.sample.area(Area::Filesystems), read.silentSeconds, mount.mountPoint);
                continue;
            }
            if (read.answer != nullptr)
                m_doubts.answered(mount.mountPoint, read.answer->slow);
            setAnswer(take, read.error, read.answer == nullptr ? nullptr : &read.answer->status, filesystem);
        }
        m_doubts.endPass();
    }

private:
    // A mount that may not answer.
    struct Doubtful {
        std::size_t mount; // its place in the table, and among the rows
        std::size_t call;
    };

    WantedMount wantedMount(const Take &take, const Mount &mount) const {
        return {take.root, mount.mountPoint, mount.type, *mount.id, *mount.major, *mount.minor, m_otherView};
    }

    // Below a root directory the mounts are those of the first process: "self" is this one, in another root.
    int readTable(const HostDirectory &root) {
        TableFile *const first = root.own() && !m_otherView ? &m_files[1] : m_files;
        for (TableFile *table = first; table != std::end(m_files); ++table) {
            m_file = &table->file;
            const int error = table->file.read(root);
            if (error == 0)
                m_table.parse(table->file.text(), table->format);
            const bool isTried = m_otherView && table == m_files; // it may be hidden from this process
            if (error != ENOENT && (error == 0 || !isTried))
                return error;
        }
        m_file = &first->file;
        return ENOENT;
    }

    // Whether what is asked is what the table is about: a recording has a table, but its mounts are not here.
    bool isLive(const HostDirectory &root) const {
        if (root.own())
            return true;
        const ScopedDescriptor file = root.open(m_file->path().c_str(), O_PATH | O_CLOEXEC);
        struct statfs filesystem {};
        return file.valid() && fstatfs(file.get(), &filesystem) == 0 && filesystem.f_type == PROC_SUPER_MAGIC;
    }

    // A hidden mount's path leads to another filesystem; an autofs mounts what it is asked for, and has no size.
    static bool canBeAsked(const Mount &mount) { return mount.hidden && *mount.hidden == 0 && mount.type != "autofs"; }

    void askNow(Take &take, const Mount &mount, Filesystem &filesystem, SlowWatch &watch) {
        struct statfs64 status {};
        const int error = take.root.own() && !m_otherView ? askMount(mount.mountPoint, status)
                                                          : askWantedMount(wantedMount(take, mount), status);
        m_doubts.answered(mount.mountPoint, watch.wasSlow());
        setAnswer(take, error, &status, filesystem);
    }

    void setAnswer(Take &take, int error, const struct statfs64 *status, Filesystem &filesystem) const {
        if (error == 0 && status != nullptr) {
            const Count readOnly = filesystem.readOnly;
            setSizes(*status, filesystem);
            if (m_otherView)
                filesystem.readOnly = readOnly; // the answer is about the mount of this process
            return;
        }
        setNoSizes(error, filesystem);
        if (error != EOPNOTSUPP)
            noteFailure(take.sample.area(Area::Filesystems), error, filesystem.mountPoint);
    }

    // What a table is about follows the mount namespace, which no look at its path shows: it is opened anew each time.
    TableFile m_files[4] = {
        {SourceFile("proc/1/mountinfo", Records::Many, KeptScope::Never), MountTable::Format::MountInfo},
        {SourceFile("proc/self/mountinfo", Records::Many, KeptScope::Never), MountTable::Format::MountInfo},
        {SourceFile("proc/mounts", Records::Many, KeptScope::Never), MountTable::Format::Mounts},
        {SourceFile("etc/mtab", Records::Many, KeptScope::Never), MountTable::Format::Mounts}};
    const SourceFile *m_file = &m_files[0].file; // that was read last
    MountTable m_table;
    DoubtfulMounts m_doubts;
    std::vector<Doubtful> m_doubtful;
    BoundedReads<MountAnswer> m_calls{"statfs"};
    std::string m_subject;
    bool m_otherView = false; // the mounts are those of the first process
};

} // namespace

std::unique_ptr<AreaReader> filesystemReader() {
    return std::make_unique<FilesystemReader>();
}

} // namespace zel
