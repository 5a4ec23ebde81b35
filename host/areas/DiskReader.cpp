// Reads the disks: the lines of /proc/diskstats, and what there is to say of each disk below /sys/class/block; and what
// belongs to disks beside that.
#include "host/areas/AreaReader.h"
#include "host/areas/BcacheSets.h"
#include "host/areas/DiskDetails.h"
#include "host/areas/DiskLines.h"
#include "host/areas/MdArrays.h"
#include "host/areas/NvmeControllers.h"
#include "host/areas/Tapes.h"
#include "host/areas/UdevRecords.h"
#include "host/source/AttributeText.h"
#include "host/source/BoundedReads.h"
#include "host/source/DeviceAttributes.h"
#include "host/source/DeviceTable.h"
#include "host/source/Refresh.h"

#include <cerrno>
#include <utility>

namespace zel {

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr const char *blockDirectory = "sys/class/block";
constexpr std::uint64_t bytesPerSector = 512;
constexpr std::size_t disksAtMost = 65536; // more is no host: a file that goes on is not believed

// How long what an idle disk said holds, and what drivers said (see host/Disk.h).
constexpr std::chrono::seconds watchPeriod{10};
constexpr std::chrono::seconds detailPeriod{30};

// What is known of a disk from one sample to the next.
struct KnownDisk {
    std::uint64_t major = 0, minor = 0;
    std::uint64_t sum = 0; // of its line
    KeptDescriptor size, readOnly, sequence;
    Time lookedAt;             // the sample
    Time watchDue, detailsDue; // at once
    DetailScope scope = DetailScope::All;
    Disk values; // of its attributes
    KnownUdevRecord udev;

    // Another disk has this name by now.
    void startAnew() {
        size.drop();
        readOnly.drop();
        sequence.drop();
        watchDue = detailsDue = Time();
        scope = DetailScope::All;
        values.parent.clear(Absence::Unsupported);
        values.sequence = Absence::Unsupported;
        udev.due = Time();
    }
};

struct DiskAnswer {
    DetailScope scope = DetailScope::All;
    Disk disk;
};

void assignDetails(const Disk &from, DetailScope scope, Disk &to) {
    forEachDiskDetail(scope, [&](auto member) { (to.*member).assign(from.*member); });
}

class DiskReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        if (const int error = m_lines.read(take.root); error != 0)
            return loseArea(sample, Area::Disks, error, m_lines.path());
        m_now = std::chrono::steady_clock::now();
        takeLines(take);
        m_due.clear();
        for (const Row &row : m_rows) {
            if (std::exchange(row.known->lookedAt, m_now) == m_now)
                continue; // a name that no kernel gives twice
            watch(take, sample.disks[row.index].name, row);
            if (m_now >= row.known->detailsDue)
                m_due.push_back(row);
        }
        if (!take.root.own()) {
            for (const Row &row : m_due)
                readDiskDetails(take.root, take.sample.disks[row.index].name, DetailScope::All, row.known->values);
        }
        for (const Row &row : m_rows)
            fill(*row.known, sample.disks[row.index]);
        readUdev(take);
        m_arrays.read(take);
        m_nvme.read(take);
        m_tapes.read(take);
        m_bcache.read(take);
    }

    // The details of the disks for which they are due, by a bounded call of each. Below a root directory the whole area
    // is one.
    void ask(Take &take) override {
        m_arrays.ask(take);
        m_bcache.ask(take);
        if (!take.root.own())
            return;
        m_details.begin(take.deadline, m_due.size());
        for (const Row &row : m_due) {
            const std::string &name = take.sample.disks[row.index].name;
            m_details.ask(name, [root = HostDirectory(take.root), name, scope = row.known->scope](DiskAnswer &answer) {
                answer.scope = scope;
                readDiskDetails(root, name, scope, answer.disk);
                return 0;
            });
        }
    }

    void finish(Take &take) override {
        m_arrays.finish(take);
        m_bcache.finish(take);
        if (!take.root.own() || m_due.empty())
            return;
        for (std::size_t place = 0; place < m_due.size(); ++place)
            takeAnswer(take.sample.area(Area::Disks), m_details.wait(place), take.sample.disks[m_due[place].index].name,
                       *m_due[place].known);
        for (const Row &row : m_rows) // a partition has something of its disk
            fill(*row.known, take.sample.disks[row.index]);
    }

private:
    struct Row {
        std::size_t index; // in the sample
        KnownDisk *known;
        bool changed; // its line, since the sample before
    };

    void takeLines(Take &take) {
        AreaState &state = take.sample.area(Area::Disks);
        Rows<Disk> &disks = take.sample.disks;
        disks.clear();
        m_rows.clear();
        m_known.startSample();
        for (const char *line = m_lines.text().data(); *line != '\0'; line = nextLine(line)) {
            if (disks.size() == disksAtMost) {
                noteFailure(state, E2BIG, m_lines.path());
                break;
            }
            Disk &disk = disks.append();
            std::uint64_t sum = 0;
            if (!parseDiskLine(line, disk, sum)) {
                disks.dropLast();
                noteFailure(state, NOT_ITS_FORMAT, m_lines.path());
                continue;
            }
            m_rows.push_back({disks.size() - 1, &m_known.of(disk.name), false});
            noteLine(disk, sum, m_rows.back());
        }
        m_known.endSample();
    }

    static void noteLine(const Disk &disk, std::uint64_t sum, Row &row) {
        KnownDisk &known = *row.known;
        if (known.major != disk.major || known.minor != disk.minor)
            known.startAnew();
        row.changed = known.sum != sum;
        known.major = disk.major;
        known.minor = disk.minor;
        known.sum = sum;
    }

    // Size, read-only state and sequence. A kept file whose device is gone means that another disk has the name.
    void watch(const Take &take, std::string_view name, const Row &row) {
        KnownDisk &known = *row.known;
        if (take.root.own() && !row.changed && m_now < known.watchDue)
            return;
        const bool kept = known.size.valid();
        DeviceAttributes files(take.root, blockDirectory, name);
        if (!watchFiles(files, known) && kept) {
            known.startAnew();
            watchFiles(files, known);
        }
        known.watchDue = m_now + spread(watchPeriod, name);
    }

    // False when the device of one of the files is gone.
    static bool watchFiles(DeviceAttributes &files, KnownDisk &known) {
        Disk &values = known.values;
        const Count sectors = files.number("size", known.size);
        std::uint64_t bytes = 0;
        if (sectors && __builtin_mul_overflow(*sectors, bytesPerSector, &bytes))
            values.sizeBytes = Absence::Malformed;
        else
            values.sizeBytes = sectors ? Count(bytes) : sectors;
        values.readOnly = files.number("ro", known.readOnly);
        if (values.parent)
            return sectors.absence() != Absence::Vanished;
        const Count sequence = files.number("diskseq", known.sequence);
        if (sequence && values.sequence && *sequence != *values.sequence) {
            known.scope = DetailScope::All;
            known.detailsDue = Time();
        }
        values.sequence = sequence;
        return sectors.absence() != Absence::Vanished && sequence.absence() != Absence::Vanished;
    }

    void takeAnswer(AreaState &state, const BoundedRead<DiskAnswer> &read, const std::string &name,
                    KnownDisk &known) const {
        if (read.answer == nullptr) {
            const Absence reason = absenceOf(read.error);
            forEachDiskDetail(known.scope, [&](auto member) { (known.values.*member).clear(reason); });
            const std::string file = blockDirectory + ('/' + name);
            noteFailure(state, read.error, file);
            if (read.error == ETIMEDOUT)
                noteSilence(state, read.silentSeconds, file);
            return; // it is asked again in the next sample
        }
        assignDetails(read.answer->disk, read.answer->scope, known.values);
        if (read.answer->scope != known.scope) // that call was started for less
            return;
        known.scope = DetailScope::Changing;
        known.detailsDue = known.values.parent ? Time::max() : m_now + spread(detailPeriod, name);
    }

    void fill(const KnownDisk &known, Disk &disk) {
        assignDetails(known.values, DetailScope::All, disk);
        disk.sizeBytes = known.values.sizeBytes;
        disk.readOnly = known.values.readOnly;
        disk.sequence = known.values.sequence;
        if (!known.values.parent)
            return;
        const KnownDisk *parent = m_known.find(*known.values.parent);
        disk.sequence = parent == nullptr ? Count(Absence::Unsupported) : parent->values.sequence;
    }

    void readUdev(Take &take) {
        Rows<UdevDisk> &records = take.sample.udevDisks;
        records.clear();
        m_udev.startSample(take.root);
        for (const Row &row : m_rows) {
            KnownUdevRecord &known = row.known->udev;
            const int error = m_udev.refresh(take.root, row.known->major, row.known->minor,
                                             take.sample.disks[row.index].name, m_now, known);
            if (error != 0)
                noteFailure(take.sample.area(Area::Disks), error, UdevRecords::DIRECTORY);
            if (known.isThere)
                records.append() = known.disk;
        }
    }

    SourceFile m_lines{"proc/diskstats", Records::Many};
    DeviceTable<KnownDisk> m_known;
    BoundedReads<DiskAnswer> m_details{"disk"};
    std::vector<Row> m_rows, m_due;
    UdevRecords m_udev;
    MdArrays m_arrays;
    NvmeControllers m_nvme;
    Tapes m_tapes;
    BcacheSets m_bcache;
    Time m_now;
};

} // namespace

std::unique_ptr<AreaReader> diskReader() {
    return std::make_unique<DiskReader>();
}

} // namespace zel
