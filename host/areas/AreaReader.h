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
    SharedSource &stat;    // proc/stat, of the areas cpu and interrupts
    SharedSource &loadavg; // proc/loadavg, of the areas load and limits
    Sample &sample;
};

/// The three steps of an area. On this host the first step of every area is done, then the second of every area, then
/// the third: nothing that hangs takes the time of what does not. Below a root directory the first step has a thread of
/// its own, because any file there may hang; the others follow when it has answered.
class AreaReader {
public:
    virtual ~AreaReader() = default;
    /// Reads what this host's kernel answers from its own memory.
    virtual void read(Take &take) = 0;
    /// Starts asking the objects that may not answer (source/BoundedReads.h).
    virtual void ask(Take &) {}
    /// Takes their answers; may wait for them until the deadline.
    virtual void finish(Take &) {}
    /// True for an area that has the first step alone: the others are not even timed.
    virtual bool hasOneStep() const { return false; }
};

using MakeReader = std::unique_ptr<AreaReader> (*)();

/// Prepares the state of an area for a sample in which it is read.
void beginArea(AreaState &state);
/// Does one step of an area that is not lost yet, and adds the processor time that it took to the cost of the area. An
/// area that finds no memory is lost: ENOMEM.
void doStep(AreaReader &reader, void (AreaReader::*step)(Take &), Take &take, Area area);

/// The error of a file whose text is not what its kernel writes: its values are malformed.
inline constexpr int NOT_ITS_FORMAT = EBADMSG;

/// Notes what failed first in an area.
void noteFailure(AreaState &state, int error, std::string_view file);
/// The same for a file that not every kernel has: what is missing is no failure.
inline void noteUnlessMissing(AreaState &state, int error, std::string_view file) {
    if (error != 0 && absenceOf(error) != Absence::Unsupported)
        noteFailure(state, error, file);
}
/// Notes that something of the area does not answer, and for how long.
void noteSilence(AreaState &state, double silentSeconds, std::string_view file);
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
std::unique_ptr<AreaReader> protocolReader();
std::unique_ptr<AreaReader> processReader();
/// Of this host: one whose processes cannot hold the sample up (OwnProcesses.cpp).
std::unique_ptr<AreaReader> ownProcessReader();
std::unique_ptr<AreaReader> sensorReader();
std::unique_ptr<AreaReader> timeReader();
std::unique_ptr<AreaReader> fibreChannelReader();
std::unique_ptr<AreaReader> nfsReader();
std::unique_ptr<AreaReader> cgroupReader();
std::unique_ptr<AreaReader> limitsReader();
std::unique_ptr<AreaReader> gpuReader();
std::unique_ptr<AreaReader> identityReader();

} // namespace zel
