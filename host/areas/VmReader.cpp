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
        Count Vm::*const member = std::get<Count Vm::*>(field.member);
        if (member != &Vm::unknownLines)
            keys.push_back({key, member});
    }
    return keys;
}

class VmReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Sample &sample = take.sample;
        if (const int error = m_file.read(take.root); error != 0)
            return loseArea(sample, Area::Vm, error, m_file.path());
        forget(sample.vm, Absence::Unsupported);
        sample.vmOthers.clear();
        const KeyedLineCounts lines =
            m_lines.parse(m_file.text().data(), sample.vm, [&](auto... line) { takeOther(sample, line...); });
        if (lines.known == 0)
            return loseArea(sample, Area::Vm, NOT_ITS_FORMAT, m_file.path());
        sample.vm.unknownLines = lines.unknown;
        if (lines.malformed > 0)
            noteFailure(sample.area(Area::Vm), NOT_ITS_FORMAT, m_file.path());
    }

private:
    static void takeOther(Sample &sample, std::string_view key, const KeyedNumber &number) {
        if (VmOther *const other = otherOf(sample.vmOthers, key); other != nullptr)
            other->value = number.value;
    }

    SourceFile m_file{"proc/vmstat", Records::Many};
    KeyedLines<Vm> m_lines{vmKeys(), ' '};
};

} // namespace

std::unique_ptr<AreaReader> vmReader() {
    return std::make_unique<VmReader>();
}

} // namespace zel
