// Reads the pressure stall information.
#include "host/areas/AreaReader.h"
#include "host/areas/PressureLines.h"

namespace zel {

namespace {

constexpr const char *resources[] = {"cpu", "io", "memory", "irq"};
constexpr PressurePlaces<Pressure> somePlaces{&Pressure::someAverage10, &Pressure::someAverage60,
                                              &Pressure::someAverage300, &Pressure::someSeconds};
constexpr PressurePlaces<Pressure> fullPlaces{&Pressure::fullAverage10, &Pressure::fullAverage60,
                                              &Pressure::fullAverage300, &Pressure::fullSeconds};

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
        if (!takePressure(file.text().data(), somePlaces, fullPlaces, pressure))
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
