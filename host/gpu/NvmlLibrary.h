// NVIDIA's management library, opened while the program runs. To be used by one thread at a time; every call may hang.
#pragma once

#include "host/Reading.h"
#include "host/gpu/Nvml.h"

#include <string>

namespace zel {

class NvmlLibrary {
public:
    static constexpr const char *DEFAULT_NAME = "libnvidia-ml.so.1";

    /// `name` as dlopen takes it.
    explicit NvmlLibrary(std::string name) : m_name(std::move(name)) {}
    ~NvmlLibrary() { close(); }
    NvmlLibrary(const NvmlLibrary &) = delete;
    NvmlLibrary &operator=(const NvmlLibrary &) = delete;

    /// Opens and initialises it, unless that was done: 0, or an errno: ENOENT when there is none, ELIBACC when it
    /// cannot be loaded, ELIBBAD for one that is another library or of another version than the driver.
    int open();
    /// Takes back what open() did. An upgraded driver is found by the next open().
    void close();

    bool isOpen() const { return m_initialized; }
    /// Of an open one.
    const nvml::Functions &functions() const { return m_functions; }

private:
    int load();

    std::string m_name;
    void *m_handle = nullptr;
    bool m_initialized = false;
    nvml::Functions m_functions{};
};

/// The errno that a result stands for, 0 for Success, so that absenceOf() gives the reason: what the GPU, driver or
/// library has not is unsupported, a lost GPU has vanished.
int nvmlError(int result);

inline Absence nvmlAbsence(int result) {
    return absenceOf(nvmlError(result));
}

} // namespace zel
