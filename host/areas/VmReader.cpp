// Reads the counters of virtual memory.
#include "host/areas/AreaReader.h"
#include "host/areas/KeyedLines.h"

namespace zel {

namespace {

// The kernel's key of each field is its name, without what the schema adds to counters.
std::vector<KeyedEntry<Vm>> vmKeys() {
    constexpr std::string_view total = "_total";
    std::vector<KeyedEntry<Vm>> keys;
    for (const Field<Vm> &field : fieldsOf<Vm>()) {
        std::string_view key = field.family.name;
        if (field.family.kind == Kind::Counter)
            key.remove_suffix(total.size());
        keys.push_back({key, std::get<Count Vm::*>(field.member)});
    }
    return keys;
}

class VmReader : public AreaReader {
public:
    void read(Take &take) override {
        if (const int error = m_file.read(take.root); error != 0)
            return loseArea(take.sample, Area::Vm, error, m_file.path());
        forget(take.sample.vm, Absence::Unsupported);
        m_lines.parse(m_file.text().data(), ' ', take.sample.vm);
    }

private:
    SourceFile m_file{"proc/vmstat", Records::Many};
    std::vector<KeyedEntry<Vm>> m_keys = vmKeys();
    KeyedLines<Vm> m_lines{m_keys};
};

} // namespace

std::unique_ptr<AreaReader> vmReader() {
    return std::make_unique<VmReader>();
}

} // namespace zel
