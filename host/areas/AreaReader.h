// What every reader of an area is: it fills its part of a sample, and says in the area's state what failed first.
#pragma once

#include "host/Sampler.h"
#include "host/source/HostDirectory.h"
#include "host/source/SourceFile.h"

#include <cerrno>
#include <chrono>
#include <memory>

namespace zel {

/// A kernel file that several areas are made from: read once in a sample.
class SharedSource {
public:
    SharedSource(const char *path, Records records) : m_file(path, records) {}

    void startSample() { m_read = false; }
    int read(const HostDirectory &root) {
        if (!m_read)
            m_error = m_file.read(root);
        m_read = true;
        return m_error;
    }
    const SourceFile &file() const { return m_file; }

private:
    SourceFile m_file;
    bool m_read = false;
    int m_error = 0;
};

/// One sample in progress.
struct Take {
    const HostDirectory &root;
    const Options &options;
    std::chrono::steady_clock::time_point deadline;
    SharedSource &stat; // proc/stat, of the areas cpu and interrupts
    Sample &sample;
};

class AreaReader {
public:
    virtual ~AreaReader() = default;
    virtual void read(Take &take) = 0;
};

/// The error of a file whose text is not what its kernel writes: its values are malformed.
inline constexpr int NOT_ITS_FORMAT = EBADMSG;

/// Notes what failed first in an area.
void noteFailure(AreaState &state, int error, std::string_view file);
/// An area that has no source at all: its lists are empty, its other fields hold the reason.
void loseArea(Sample &sample, Area area, int error, std::string_view file);

std::unique_ptr<AreaReader> cpuReader();
std::unique_ptr<AreaReader> loadReader();
std::unique_ptr<AreaReader> pressureReader();
std::unique_ptr<AreaReader> memoryReader();
std::unique_ptr<AreaReader> vmReader();
std::unique_ptr<AreaReader> interruptReader();
std::unique_ptr<AreaReader> diskReader();
std::unique_ptr<AreaReader> filesystemReader();
std::unique_ptr<AreaReader> interfaceReader();
std::unique_ptr<AreaReader> processReader();
std::unique_ptr<AreaReader> identityReader();

} // namespace zel
