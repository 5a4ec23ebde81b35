// The mount tables of the typed model: every line is a mount or malformed, a text that is the same is not parsed again.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "host/areas/MountTable.h"

namespace {

std::size_t filledLines(std::string_view text) {
    std::size_t lines = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines += end > 0 ? 1 : 0;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

void ensureTable(const std::string &text, zel::MountTable::Format format) {
    zel::MountTable table;
    table.parse(text, format);
    fuzz::ensure(table.mounts().size() + table.malformedLines() == filledLines(text), "a line was lost or invented");
    fuzz::ensure(text.empty() || !table.parse(text, format), "the same text was parsed again");
    for (const zel::Mount &mount : table.mounts()) {
        fuzz::ensure(!mount.mountPoint.empty() && !mount.type.empty(), "a mount without a place or a type");
        fuzz::ensure(mount.readOnly.has(), "a mount that is neither read-only nor not");
    }
}

} // namespace

FUZZ_TARGET(mount_table_fuzz) {
    const std::string text = input.piece();
    ensureTable(text, zel::MountTable::Format::MountInfo);
    ensureTable(text, zel::MountTable::Format::Mounts);
}
