// Reads the counters of tape drives.
#include "host/areas/Tapes.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <algorithm>

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

struct Counter {
    std::string_view file;
    Count Tape::*count;
    Number Tape::*seconds; // of nanoseconds
};
constexpr Counter counters[] = {
    {"stats/in_flight", &Tape::inFlight, nullptr},      {"stats/read_cnt", &Tape::reads, nullptr},
    {"stats/read_byte_cnt", &Tape::readBytes, nullptr}, {"stats/read_ns", nullptr, &Tape::readSeconds},
    {"stats/write_cnt", &Tape::writes, nullptr},        {"stats/write_byte_cnt", &Tape::writtenBytes, nullptr},
    {"stats/write_ns", nullptr, &Tape::writeSeconds},   {"stats/io_ns", nullptr, &Tape::ioSeconds},
    {"stats/other_cnt", &Tape::others, nullptr},        {"stats/resid_cnt", &Tape::residuals, nullptr},
};
static_assert(std::size(counters) == Tapes::COUNTERS);

void set(const Counter &counter, const Count &value, Tape &tape) {
    if (counter.count != nullptr)
        tape.*counter.count = value;
    else
        tape.*counter.seconds = value ? Number(static_cast<double>(*value) / nanosecondsPerSecond) : value.absence();
}

// A drive has a device for each of its modes ("st0", "st0l", "nst0"), with the same counters.
bool isDrive(std::string_view name) {
    return name.size() > 2 && std::all_of(name.begin() + 2, name.end(), [](char c) { return digitValue<10>(c) <= 9; });
}

} // namespace

bool Tapes::readTape(Take &take, const std::string &name, Tape &tape) {
    tape.name = name;
    forget(tape, Absence::Unsupported);
    KnownTape &known = m_known.of(name);
    DeviceAttributes files(take.root, m_list.path(), name);
    for (std::size_t index = 0; index < COUNTERS; ++index) {
        Count value = files.number(counters[index].file, known[index]);
        if (value.absence() == Absence::Vanished) { // another drive has the name, or none
            known[index].drop();
            value = files.number(counters[index].file, known[index]);
        }
        set(counters[index], value, tape);
        if (value.absence() == Absence::Malformed)
            noteFailure(take.sample.area(Area::Disks), NOT_ITS_FORMAT, m_list.path());
        if (index == 0 && value.absence() == Absence::Unsupported)
            return files.hold() == 0; // a kernel that does not count, or no drive
    }
    return true;
}

void Tapes::read(Take &take) {
    Rows<Tape> &tapes = take.sample.tapes;
    tapes.clear();
    noteUnlessMissing(take.sample.area(Area::Disks), m_list.read(take.root), m_list.path());
    bool isStale = false;
    m_known.startSample();
    for (const std::string &name : m_list.names()) {
        if (!isDrive(name) || readTape(take, name, tapes.append()))
            continue;
        tapes.dropLast();
        isStale = true;
    }
    m_known.endSample();
    if (isStale)
        m_list.expire();
}

} // namespace zel
