// A host whose kernel files a test writes, and samples of it.
#pragma once

#include "TempDirectory.h"
#include "host/Sampler.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <utility>

class SampledHost {
public:
    explicit SampledHost(std::vector<zel::Area> areas)
        : m_sampler({.root = m_root.path(), .areas = std::move(areas)}) {}
    SampledHost(zel::Area area, std::initializer_list<std::pair<const char *, const char *>> files)
        : SampledHost(std::vector{area}) {
        for (const auto &[path, text] : files)
            write(path, text);
    }

    void write(const std::string &path, const std::string &text) const { m_root.write(path, text); }
    void remove(const std::string &path) const { m_root.remove(path); }
    std::string path() const { return m_root.path(); }

    /// The next sample. It holds until the one after it.
    const zel::Sample &take() {
        m_sampler.take(m_sample);
        return m_sample;
    }

private:
    TempDirectory m_root;
    zel::Sampler m_sampler;
    zel::Sample m_sample;
};

/// What failed first in an area: its file, with its error number.
inline std::pair<int, std::string> failureOf(const zel::Sample &sample, zel::Area area) {
    return {sample.area(area).error, sample.area(area).file};
}

inline const std::pair<int, std::string> NO_FAILURE{0, ""};

/// A reading holds this value.
template<class T, class Expected>
testing::AssertionResult holds(const zel::Reading<T> &reading, const Expected &value) {
    if (!reading)
        return testing::AssertionFailure() << "it is " << zel::absenceName(reading.absence());
    if (*reading == static_cast<T>(value))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "it holds " << testing::PrintToString(*reading);
}

/// A reading holds nothing, for this reason.
template<class T> testing::AssertionResult lacks(const zel::Reading<T> &reading, zel::Absence reason) {
    if (reading)
        return testing::AssertionFailure() << "it holds " << testing::PrintToString(*reading);
    if (reading.absence() == reason)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "it is " << zel::absenceName(reading.absence());
}
