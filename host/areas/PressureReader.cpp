// Reads the pressure stall information.
#include "host/areas/AreaReader.h"
#include "text/NumberScan.h"

namespace zel {

namespace {

constexpr const char *resources[] = {"cpu", "io", "memory", "irq"};
constexpr double secondsPerMicrosecond = 1e-6;
constexpr double share = 0.01; // of a percentage

// The number behind `key` in the line at the cursor; the cursor moves behind it.
bool takeValue(const char *&cursor, std::string_view key, double factor, Number &reading) {
    cursor = skipBlanks(cursor);
    double value = 0;
    if (std::strncmp(cursor, key.data(), key.size()) != 0)
        return false;
    const char *text = cursor + key.size();
    if (!scanDouble(text, value))
        return false;
    reading = value * factor;
    cursor = text;
    return true;
}

// Sample: some avg10=0.23 avg60=7.99 avg300=13.40 total=233938024
// False when the line begins with another word.
bool takeLine(const char *line, std::string_view word, Number &average10, Number &average60, Number &average300,
              Number &seconds) {
    if (std::strncmp(line, word.data(), word.size()) != 0)
        return false;
    const char *cursor = line + word.size();
    for (Number *reading : {&average10, &average60, &average300, &seconds})
        *reading = Absence::Malformed;
    static_cast<void>(takeValue(cursor, "avg10=", share, average10) && takeValue(cursor, "avg60=", share, average60) &&
                      takeValue(cursor, "avg300=", share, average300) &&
                      takeValue(cursor, "total=", secondsPerMicrosecond, seconds));
    return true;
}

void parse(const char *line, Pressure &pressure) {
    for (; *line != '\0'; line = nextLine(line)) {
        if (!takeLine(line, "some ", pressure.someAverage10, pressure.someAverage60, pressure.someAverage300,
                      pressure.someSeconds))
            takeLine(line, "full ", pressure.fullAverage10, pressure.fullAverage60, pressure.fullAverage300,
                     pressure.fullSeconds);
    }
}

class PressureReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        sample.pressure.clear();
        int firstError = 0;
        for (std::size_t index = 0; index < std::size(resources); ++index) {
            if (const int error = m_files[index].read(take.root); error != 0) {
                noteFailure(sample.area(Area::Pressure), error, m_files[index].path());
                firstError = firstError == 0 ? error : firstError;
                continue;
            }
            Pressure &pressure = sample.pressure.append();
            pressure.resource = resources[index];
            forget(pressure, Absence::Unsupported);
            parse(m_files[index].text().data(), pressure);
        }
        if (sample.pressure.empty())
            loseArea(sample, Area::Pressure, firstError, m_files[0].path());
        else if (firstError == ENOENT) // a kernel that has no account of one resource, such as irq
            sample.area(Area::Pressure).error = 0;
    }

private:
    SourceFile m_files[4] = {SourceFile("proc/pressure/cpu"), SourceFile("proc/pressure/io"),
                             SourceFile("proc/pressure/memory"), SourceFile("proc/pressure/irq")};
};

} // namespace

std::unique_ptr<AreaReader> pressureReader() {
    return std::make_unique<PressureReader>();
}

} // namespace zel
