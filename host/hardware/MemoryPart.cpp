// Reads the tables of the firmware: memory modules and their arrays, sockets of processors.
#include "host/hardware/PartReader.h"
#include "host/hardware/SmbiosRows.h"
#include "host/source/Listing.h"
#include "host/source/SourceFile.h"

#include <cerrno>

namespace zel {

namespace {

constexpr const char *entryPoint = "sys/firmware/dmi/tables/smbios_entry_point";
constexpr const char *tables = "sys/firmware/dmi/tables/DMI";

void loseTables(AreaState &state, int error, std::string_view file) {
    state.absence = absenceOf(error);
    noteFailure(state, error, file);
}

// Null when there are as many as an inventory takes.
template<class Row> Row *nextRow(Rows<Row> &rows, AreaState &state) {
    if (rows.size() < LISTING_LIMIT)
        return &rows.append();
    noteFailure(state, E2BIG, tables);
    return nullptr;
}

void takeStructure(const SmbiosStructure &structure, HardwareRead &read) {
    const Absence serials = read.serials();
    switch (structure.type()) {
    case SMBIOS_MEMORY_MODULE:
        if (MemoryModule *module = nextRow(read.found.memoryModules, read.state); module != nullptr)
            takeMemoryModule(structure, serials, *module);
        return;
    case SMBIOS_MEMORY_ARRAY:
        if (MemoryArray *array = nextRow(read.found.memoryArrays, read.state); array != nullptr)
            takeMemoryArray(structure, *array);
        return;
    case SMBIOS_PROCESSOR:
        if (ProcessorSocket *socket = nextRow(read.found.processorSockets, read.state); socket != nullptr)
            takeProcessorSocket(structure, serials, *socket);
        return;
    default:
        return;
    }
}

// How many modules are in an array: unless one of them does not say.
Count installedIn(const MemoryArray &array, const Rows<MemoryModule> &modules) {
    std::uint64_t installed = 0;
    for (const MemoryModule &module : modules) {
        if (module.array.valueOr(array.handle) != array.handle)
            continue;
        if (!module.array || !module.installed)
            return Absence::Unsupported;
        installed += *module.installed;
    }
    return installed;
}

void readTables(HardwareRead &read, const std::string &) {
    SourceFile entryFile(entryPoint), tableFile(tables, Records::Many);
    if (const int error = entryFile.read(read.root); error != 0)
        return loseTables(read.state, error, entryFile.path());
    const std::optional<SmbiosEntry> entry = parseSmbiosEntry(entryFile.text());
    if (!entry)
        return loseTables(read.state, NOT_ITS_FORMAT, entryFile.path());
    if (const int error = tableFile.read(read.root); error != 0)
        return loseTables(read.state, error, tableFile.path());
    if (tableFile.text().size() > SMBIOS_TABLE_LIMIT)
        return loseTables(read.state, EFBIG, tableFile.path());
    SmbiosWalk walk(tableFile.text(), entry->tableLength);
    while (const std::optional<SmbiosStructure> structure = walk.next())
        takeStructure(*structure, read);
    if (!walk.whole())
        noteFailure(read.state, NOT_ITS_FORMAT, tableFile.path());
    for (MemoryArray &array : read.found.memoryArrays)
        array.installedModules = installedIn(array, read.found.memoryModules);
}

} // namespace

const PartReader &memoryPart() {
    static constexpr PartReader reader{
        .directory = "sys/firmware/dmi/tables", .list = nullptr, .read = readTables, .lose = nullptr};
    return reader;
}

} // namespace zel
