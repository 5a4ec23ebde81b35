// Reads the load averages.
#include "host/areas/AreaReader.h"
#include "host/source/LineScan.h"

namespace zel {

namespace {

class LoadReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        const SourceFile &file = take.loadavg.file();
        if (const int error = take.loadavg.read(take.root); error != 0)
            return loseArea(take.sample, Area::Load, error, file.path());
        forget(take.sample.load, Absence::Malformed);
        if (!parse(file.text().data(), take.sample.load))
            noteFailure(take.sample.area(Area::Load), NOT_ITS_FORMAT, file.path());
    }

private:
    // Sample: 0.37 0.60 0.24 2/212 12345
    static bool parse(const char *cursor, Load &load) {
        for (Number *average : {&load.load1, &load.load5, &load.load15}) {
            *average = takeDecimal(cursor);
            if (!*average)
                return false;
        }
        load.runnable = takeCount(cursor, '/');
        if (!load.runnable || *cursor != '/')
            return false;
        load.entities = takeCount(++cursor);
        if (load.entities)
            load.lastPid = takeCount(cursor);
        return load.lastPid.has();
    }
};

} // namespace

std::unique_ptr<AreaReader> loadReader() {
    return std::make_unique<LoadReader>();
}

} // namespace zel
