// Reads the load averages.
#include "host/areas/AreaReader.h"
#include "text/NumberScan.h"

namespace zel {

namespace {

class LoadReader : public AreaReader {
public:
    void read(Take &take) override {
        if (const int error = m_file.read(take.root); error != 0)
            return loseArea(take.sample, Area::Load, error, m_file.path());
        parse(take.sample.load);
    }

private:
    // Sample: 0.37 0.60 0.24 2/212 12345
    void parse(Load &load) const {
        forget(load, Absence::Malformed);
        const char *cursor = m_file.text().data();
        for (Number *average : {&load.load1, &load.load5, &load.load15}) {
            double value = 0;
            if (!scanDouble(cursor, value))
                return;
            *average = value;
        }
        unsigned long long number = 0;
        if (!scanUnsigned(cursor, number))
            return;
        load.runnable = number;
        if (*cursor != '/' || !scanUnsigned(++cursor, number))
            return;
        load.entities = number;
        if (scanUnsigned(cursor, number))
            load.lastPid = number;
    }

    SourceFile m_file{"proc/loadavg"};
};

} // namespace

std::unique_ptr<AreaReader> loadReader() {
    return std::make_unique<LoadReader>();
}

} // namespace zel
