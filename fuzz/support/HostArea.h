// One area of the typed model over the host of an input: two samples of it and their rates, and what must hold for them
// whatever the files say.
#pragma once

#include "FuzzedInput.h"
#include "host/Rates.h"
#include "host/areas/AreaReader.h"

#include <memory>
#include <string>

namespace fuzz {

class HostArea {
public:
    HostArea(zel::Area area, std::unique_ptr<zel::AreaReader> reader);

    /// Reads the area as the host is now, after the time of a second, and looks at the sample and at the rates since
    /// the one before.
    const zel::Sample &take();
    /// Of the last two samples.
    const zel::Rates &rates() const { return m_rates; }

private:
    zel::Area m_area;
    std::unique_ptr<zel::AreaReader> m_reader;
    zel::Options m_options;
    zel::HostDirectory m_root;
    zel::SharedSource m_stat{"proc/stat", zel::Records::One};
    zel::SharedSource m_loadavg{"proc/loadavg", zel::Records::One};
    zel::Sample m_before, m_sample;
    zel::Rates m_rates;
};

/// A file of the host: the next piece of the input, or none.
void hostFile(const std::string &path, FuzzedInput &input);

/// No number is negative or without an end, no text beyond reason, and a malformed value has its file in the state of
/// its area.
void ensureSample(const zel::Sample &sample);
void ensureRates(const zel::Rates &rates);

} // namespace fuzz
