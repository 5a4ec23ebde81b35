// What NVML says of one GPU, as readings. A function that the library lacks makes its readings unsupported, one that
// fails gives them the reason of its result.
#pragma once

#include "host/Gpu.h"
#include "host/Rows.h"
#include "host/gpu/Nvml.h"

#include <cstddef>
#include <vector>

namespace zel {

struct NvmlGpu {
    const nvml::Functions &functions;
    nvml::Device device;
};

/// What hardly ever changes: its labels (but for the name), texts, limits, modes, and what errors left behind.
void describeNvmlGpu(const NvmlGpu &from, Gpu &gpu);
/// Everything else: 0, or ENODEV when the GPU is lost.
int readNvmlGpu(const NvmlGpu &from, Gpu &gpu);

/// The processes of a GPU.
class NvmlProcesses {
public:
    /// Appends those of the GPU named `gpu`: 0, EOPNOTSUPP when there is no such list, or what kept it from being read.
    /// A process that the library has several times, for its instances of a split GPU, is one row.
    int read(const NvmlGpu &from, const std::string &gpu, Rows<GpuProcess> &processes);

private:
    using List = int (*)(nvml::Device, unsigned *, void *);

    int readList(List list, nvml::Device device, unsigned &count);
    std::size_t strideOf(unsigned count) const;

    std::vector<unsigned char> m_room;
};

} // namespace zel
