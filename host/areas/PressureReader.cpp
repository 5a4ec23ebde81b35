// Reads the pressure stall information.
#include "host/areas/AreaReader.h"
#include "host/source/LineScan.h"

namespace zel {

namespace {

constexpr const char *resources[] = {"cpu", "io", "memory", "irq"};
// By which power of ten a percentage and microseconds are divided.
constexpr unsigned ofPercent = 2;
constexpr unsigned ofMicroseconds = 6;

// The four numbers of a line, by their keys in the kernel's order.
struct Keyed {
    std::string_view key;
    unsigned shift;
    Number Pressure::*member;
};
constexpr Keyed someKeys[] = {{"avg10=", ofPercent, &Pressure::someAverage10},
                              {"avg60=", ofPercent, &Pressure::someAverage60},
                              {"avg300=", ofPercent, &Pressure::someAverage300},
                              {"total=", ofMicroseconds, &Pressure::someSeconds}};
constexpr Keyed fullKeys[] = {{"avg10=", ofPercent, &Pressure::fullAverage10},
                              {"avg60=", ofPercent, &Pressure::fullAverage60},
                              {"avg300=", ofPercent, &Pressure::fullAverage300},
                              {"total=", ofMicroseconds, &Pressure::fullSeconds}};

// Sample: some avg10=0.23 avg60=7.99 avg300=13.40 total=233938024
// The cursor is behind the first word. What does not follow the format is malformed, with all that stands after it.
bool takeLine(const char *cursor, std::span<const Keyed> keys, Pressure &pressure) {
    for (const Keyed &each : keys)
        pressure.*each.member = Absence::Malformed;
    for (const Keyed &each : keys) {
        cursor = skipSpaces(cursor);
        if (!startsWith(cursor, each.key) || isSpace(cursor[each.key.size()]))
            return false;
        cursor += each.key.size();
        pressure.*each.member = takeDecimal(cursor, each.shift);
        if (!(pressure.*each.member))
            return false;
    }
    return true;
}

// False when a line is malformed, or when there is none that the kernel writes.
bool parse(const char *line, Pressure &pressure) {
    constexpr std::string_view some = "some ", full = "full ";
    bool whole = true, any = false;
    for (; *line != '\0'; line = nextLine(line)) {
        const bool isSome = startsWith(line, some);
        if (!isSome && !startsWith(line, full))
            continue;
        any = true;
        whole &= takeLine(line + some.size(), isSome ? std::span(someKeys) : std::span(fullKeys), pressure);
    }
    if (!any)
        forget(pressure, Absence::Malformed);
    return whole && any;
}

class PressureReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Sample &sample = take.sample;
        AreaState &state = sample.area(Area::Pressure);
        sample.pressure.clear();
        int missing = 0;
        for (std::size_t index = 0; index < std::size(resources); ++index)
            missing += readResource(take, index) == ENOENT ? 1 : 0;
        if (missing == std::size(resources))
            loseArea(sample, Area::Pressure, ENOENT, m_files[0].path());
        else if (sample.pressure.empty())
            state.absence = absenceOf(state.error);
    }

private:
    // A kernel that keeps no account of one resource, such as irq, has no file for it.
    int readResource(Take &take, std::size_t index) {
        SourceFile &file = m_files[index];
        AreaState &state = take.sample.area(Area::Pressure);
        if (const int error = file.read(take.root); error != 0) {
            if (error != ENOENT)
                noteFailure(state, error, file.path());
            return error;
        }
        Pressure &pressure = take.sample.pressure.append();
        pressure.resource = resources[index];
        forget(pressure, Absence::Unsupported);
        if (!parse(file.text().data(), pressure))
            noteFailure(state, NOT_ITS_FORMAT, file.path());
        return 0;
    }

    SourceFile m_files[std::size(resources)] = {SourceFile("proc/pressure/cpu"), SourceFile("proc/pressure/io"),
                                                SourceFile("proc/pressure/memory"), SourceFile("proc/pressure/irq")};
};

} // namespace

std::unique_ptr<AreaReader> pressureReader() {
    return std::make_unique<PressureReader>();
}

} // namespace zel
