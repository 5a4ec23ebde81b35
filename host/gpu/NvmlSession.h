// All NVIDIA GPUs of this host, as NVML says. Read by a bounded call, whose thread alone uses the session while it
// runs.
#pragma once

#include "host/gpu/NvmlLibrary.h"
#include "host/gpu/NvmlReadings.h"

#include <atomic>
#include <chrono>
#include <string>

namespace zel {

struct NvmlAnswer {
    Rows<Gpu> gpus;
    Rows<GpuProcess> processes;
    int error = 0;          // that kept the library from saying anything
    int partError = 0;      // of the first GPU or list of processes that could not be read
    double costSeconds = 0; // processor time
};

class NvmlSession {
public:
    static constexpr unsigned GPUS_AT_MOST = 256; // a count beyond it is not believed
    static constexpr std::chrono::seconds DESCRIPTION_PERIOD{60};

    explicit NvmlSession(std::string library) : m_library(std::move(library)) {}

    /// Opens the library when that was not done.
    void read(NvmlAnswer &answer);
    /// Closes the library.
    void close() { m_library.close(); }
    /// Whether any call has used it: it may be open. For any thread.
    bool wasUsed() const { return m_wasUsed; }

private:
    struct Known {
        nvml::Device device;
        int error; // that kept its handle from being had
        Gpu gpu;
    };

    int begin(NvmlAnswer &answer);
    void describe(unsigned count);
    void readGpus(NvmlAnswer &answer);

    std::atomic<bool> m_wasUsed{false};
    NvmlLibrary m_library;
    NvmlProcesses m_processes;
    std::vector<Known> m_gpus;
    std::chrono::steady_clock::time_point m_describeAt;
    bool m_isLost = false; // a GPU is: the library may have to be started anew to find it again
};

} // namespace zel
