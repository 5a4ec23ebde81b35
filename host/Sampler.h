// Sampler: reads a host into a sample.
//
//   zel::Sampler sampler({.areas = {zel::Area::Cpu, zel::Area::Disks}, .deadline = 2s});
//   zel::Sample before = sampler.take();
//
// Nothing is printed, no process-wide setting is read, no command is started. What failed is in the sample: only memory
// that cannot be had is an exception (std::bad_alloc), after which the next sample is whole. A sampler belongs to one
// thread at a time; several of them live side by side.
#pragma once

#include "host/Sample.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zel {

inline constexpr std::chrono::milliseconds DEADLINE_DEFAULT{2000};
inline constexpr int KEPT_FILES_DEFAULT = -1;

struct Options {
    std::string root = {};        // the directory that holds proc, sys and etc; empty: this host
    std::vector<Area> areas = {}; // empty: all of them
    std::chrono::milliseconds deadline = DEADLINE_DEFAULT;
    // The mounts of the first process instead of those that this one sees: a service may see its own as read-only.
    bool firstMounts = false;
    bool proportionalMemory = false;    // read smaps_rollup of every process: dear
    std::string gpuLibrary = {};        // NVIDIA's NVML; empty: libnvidia-ml.so.1, where its driver is loaded
    int keptFiles = KEPT_FILES_DEFAULT; // descriptors that stay open: -1 a quarter of the soft limit, 0 none
};

class Sampler {
public:
    /// A root that is no directory is in the state of every area of the first sample.
    explicit Sampler(Options options = {});
    ~Sampler();
    Sampler(Sampler &&) noexcept;
    Sampler &operator=(Sampler &&) noexcept;

    /// Reads every area, within the deadline and 50 ms. What does not answer in time is "timed out" in the sample; it
    /// holds one thread, and is asked again when that thread has returned. The processes of this host are read on a
    /// thread of their own, one in each sample, because any of them may hang.
    Sample take();
    /// The same into `sample`, whose memory is used again: nothing is allocated in steady state.
    void take(Sample &sample);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace zel
