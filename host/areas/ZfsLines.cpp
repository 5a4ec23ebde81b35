// Parses the files of ZFS.
#include "host/areas/ZfsLines.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace zel {

namespace {

// Beyond any release: arcstats has about 150 lines, and names end at 255 bytes.
constexpr std::size_t linesAtMost = 4096;
constexpr std::size_t nameAtMost = 1024;

// How the kernel's type of a value is numbered.
constexpr std::uint64_t int32 = 1, uint32 = 2, int64 = 3, uint64 = 4, signedLong = 5, unsignedLong = 6, text = 7;

bool isUnsigned(std::uint64_t type) {
    return type == uint32 || type == uint64 || type == unsignedLong;
}
bool isSigned(std::uint64_t type) {
    return type == int32 || type == int64 || type == signedLong;
}

struct KstatLine {
    std::string_view name;
    std::uint64_t type = 0;
    const char *value = nullptr; // up to the end of the line
};

// Sample: 13 1 0x01 98 26656 5263839107 79214165
//         name                            type data
//         hits                            4    3260286
// Calls use(line) for each line behind the two of the heading. False when there is none, or a line is another.
template<class Use> bool forEachLine(const char *cursor, Use &&use) {
    const char *line = nextLine(cursor);
    if (!startsWith(line, "name"))
        return false;
    bool whole = true;
    std::size_t count = 0;
    for (line = nextLine(line); *line != '\0' && count < linesAtMost; line = nextLine(line)) {
        const char *at = line;
        KstatLine each;
        each.name = takeWord(at);
        if (each.name.empty())
            continue;
        const Count type = takeCount(at);
        each.value = skipSpaces(at);
        if (!type || each.name.size() > nameAtMost) {
            whole = false;
            continue;
        }
        ++count;
        each.type = *type;
        use(each);
    }
    return whole && *line == '\0';
}

struct DatasetCounter {
    std::string_view name;
    Count ZfsDataset::*member;
};
constexpr DatasetCounter datasetCounters[] = {
    {"writes", &ZfsDataset::writes},
    {"nwritten", &ZfsDataset::writtenBytes},
    {"reads", &ZfsDataset::reads},
    {"nread", &ZfsDataset::readBytes},
    {"nunlinks", &ZfsDataset::unlinks},
    {"nunlinked", &ZfsDataset::unlinked},
    {"zil_commit_count", &ZfsDataset::logCommits},
    {"zil_commit_writer_count", &ZfsDataset::logCommitWrites},
    {"zil_itx_count", &ZfsDataset::logItems},
    {"zil_itx_indirect_count", &ZfsDataset::logIndirectItems},
    {"zil_itx_indirect_bytes", &ZfsDataset::logIndirectBytes},
    {"zil_itx_copied_count", &ZfsDataset::logCopiedItems},
    {"zil_itx_copied_bytes", &ZfsDataset::logCopiedBytes},
    {"zil_itx_needcopy_count", &ZfsDataset::logNeedCopyItems},
    {"zil_itx_needcopy_bytes", &ZfsDataset::logNeedCopyBytes},
    {"zil_itx_metaslab_normal_count", &ZfsDataset::logNormalItems},
    {"zil_itx_metaslab_normal_bytes", &ZfsDataset::logNormalBytes},
    {"zil_itx_metaslab_normal_write", &ZfsDataset::logNormalWrittenBytes},
    {"zil_itx_metaslab_normal_alloc", &ZfsDataset::logNormalAllocatedBytes},
    {"zil_itx_metaslab_slog_count", &ZfsDataset::logSlogItems},
    {"zil_itx_metaslab_slog_bytes", &ZfsDataset::logSlogBytes},
    {"zil_itx_metaslab_slog_write", &ZfsDataset::logSlogWrittenBytes},
    {"zil_itx_metaslab_slog_alloc", &ZfsDataset::logSlogAllocatedBytes},
};

// Its times are nanoseconds.
struct IoColumn {
    std::string_view name;
    Count ZfsPool::*count = nullptr;
    Number ZfsPool::*seconds = nullptr;
};
constexpr IoColumn ioColumns[] = {
    {"nread", &ZfsPool::readBytes},
    {"nwritten", &ZfsPool::writtenBytes},
    {"reads", &ZfsPool::reads},
    {"writes", &ZfsPool::writes},
    {"wtime", nullptr, &ZfsPool::waitSeconds},
    {"wlentime", nullptr, &ZfsPool::waitLengthSeconds},
    {"wupdate", nullptr, &ZfsPool::waitUpdatedSeconds},
    {"rtime", nullptr, &ZfsPool::runSeconds},
    {"rlentime", nullptr, &ZfsPool::runLengthSeconds},
    {"rupdate", nullptr, &ZfsPool::runUpdatedSeconds},
    {"wcnt", &ZfsPool::waiting},
    {"rcnt", &ZfsPool::running},
};

bool takeColumn(const IoColumn &column, const Count &value, ZfsPool &pool) {
    constexpr double nanoseconds = 1e9;
    if (column.count != nullptr)
        pool.*column.count = value;
    else
        pool.*column.seconds = value ? Number(static_cast<double>(*value) / nanoseconds) : Number(value.absence());
    return value.has();
}

} // namespace

bool parseZfsValues(const char *cursor, std::string_view source, Rows<ZfsValue> &rows) {
    bool whole = true;
    const bool lines = forEachLine(cursor, [&](const KstatLine &line) {
        if (!isUnsigned(line.type) && !isSigned(line.type))
            return;
        ZfsValue &row = rows.append();
        row.source = source;
        row.name = line.name;
        row.value = Absence::Unsupported;
        row.signedValue = Absence::Unsupported;
        const char *value = line.value;
        if (isUnsigned(line.type))
            whole &= (row.value = takeCount(value)).has();
        else
            whole &= (row.signedValue = takeInteger(value)).has();
    });
    return lines && whole;
}

bool parseZfsDataset(const char *cursor, ZfsDataset &dataset) {
    forget(dataset, Absence::Unsupported);
    dataset.dataset.clear();
    bool whole = true;
    const bool lines = forEachLine(cursor, [&](const KstatLine &line) {
        if (line.type == text && line.name == "dataset_name") {
            const std::size_t length = std::strcspn(line.value, "\n");
            if (length <= nameAtMost)
                dataset.dataset.assign(line.value, length);
            return;
        }
        const auto *const found = std::find_if(std::begin(datasetCounters), std::end(datasetCounters),
                                               [&line](const DatasetCounter &each) { return each.name == line.name; });
        if (found == std::end(datasetCounters) || !isUnsigned(line.type))
            return;
        const char *value = line.value;
        whole &= (dataset.*found->member = takeCount(value)).has();
    });
    return lines && whole && !dataset.dataset.empty();
}

// Sample: 12 3 0x00 1 80 85126159785067 533967357232776
//         nread    nwritten reads    writes   wtime    wlentime wupdate  rtime    rlentime rupdate  wcnt     rcnt
//         8732142  3406637  22       132      4131527  130997668 50749218772558 27866845 687228258 16372277760048 0 0
bool parseZfsIo(const char *cursor, ZfsPool &pool) {
    const char *names = nextLine(cursor);
    const char *values = nextLine(names);
    bool any = false, whole = true;
    for (std::string_view name = takeWord(names); !name.empty(); name = takeWord(names)) {
        const Count value = takeCount(values);
        const auto *const found = std::find_if(std::begin(ioColumns), std::end(ioColumns),
                                               [name](const IoColumn &each) { return each.name == name; });
        if (found == std::end(ioColumns))
            continue;
        any = true;
        whole &= takeColumn(*found, value, pool);
    }
    return any && whole;
}

} // namespace zel
