// Reads the load averages.
#include "host/areas/AreaReader.h"
#include "host/source/LineScan.h"

namespace zel {

namespace {

class LoadReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        if (const int error = m_file.read(take.root); error != 0)
            return loseArea(take.sample, Area::Load, error, m_file.path());
        forget(take.sample.load, Absence::Malformed);
        if (!parse(take.sample.load))
            noteFailure(take.sample.area(Area::Load), NOT_ITS_FORMAT, m_file.path());
    }

private:
    // Sample: 0.37 0.60 0.24 2/212 12345
    bool parse(Load &load) const {
        const char *cursor = m_file.text().data();
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

    SourceFile m_file{"proc/loadavg"};
};

} // namespace

std::unique_ptr<AreaReader> loadReader() {
    return std::make_unique<LoadReader>();
}

} // namespace zel
