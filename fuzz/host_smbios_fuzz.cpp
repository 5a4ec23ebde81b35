// The tables of the firmware: any bytes as an entry point, and any as structures. Every structure is read as each kind
// of row, whatever its type says.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "host/hardware/SmbiosRows.h"

#include <cmath>

namespace {

std::string bytes(fuzz::FuzzedInput &input, std::size_t size) {
    std::string text;
    while (text.size() < size && !input.atEnd())
        text += static_cast<char>(input.byte());
    return text;
}

// No number is negative or without an end, no text longer than the table.
template<class Row> void ensureRow(const Row &row, std::size_t tableSize) {
    constexpr std::size_t longestNames = 256; // of bits that have one each
    for (const zel::Field<Row> &field : zel::fieldsOf<Row>()) {
        const zel::Value value = field.of(row);
        if (value.type() == zel::Value::Type::Real)
            fuzz::ensure(std::isfinite(value.asReal()) && value.asReal() >= 0, "a number that cannot be");
        fuzz::ensure(value.asText().size() <= tableSize + longestNames, "a text from outside the table");
    }
}

} // namespace

FUZZ_TARGET(host_smbios_fuzz) {
    const std::string entryBytes = bytes(input, input.byte());
    const std::optional<zel::SmbiosEntry> entry = zel::parseSmbiosEntry(entryBytes);
    const std::string table = bytes(input, fuzz::LONGEST_PIECE);
    zel::SmbiosWalk walk(table, entry ? entry->tableLength : zel::SMBIOS_TABLE_LIMIT);
    std::size_t structures = 0;
    while (const std::optional<zel::SmbiosStructure> structure = walk.next()) {
        zel::MemoryModule module;
        takeMemoryModule(*structure, zel::Absence::None, module);
        ensureRow(module, table.size());
        fuzz::ensure(module.installed.valueOr(0) <= 1, "a slot that is neither empty nor not");
        zel::MemoryArray array;
        takeMemoryArray(*structure, array);
        ensureRow(array, table.size());
        zel::ProcessorSocket socket;
        takeProcessorSocket(*structure, zel::Absence::None, socket);
        ensureRow(socket, table.size());
        ++structures;
    }
    fuzz::ensure(structures <= table.size() / 4, "more structures than fit the table");
}
