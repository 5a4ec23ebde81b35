// Lists the processes that use a GPU, in whichever layout the library has.
#include "host/gpu/NvmlLibrary.h"
#include "host/gpu/NvmlReadings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zel {

namespace {

constexpr unsigned roomAtFirst = 128, roomAtMost = 8192; // processes
constexpr unsigned char untouched = 0xA5;

void addUse(const nvml::ProcessV1 &process, const std::string &gpu, std::string_view kind, std::size_t first,
            Rows<GpuProcess> &processes) {
    const Count used = process.usedBytes == nvml::NOT_AVAILABLE ? Count(Absence::Unsupported)
                                                                : Count(std::uint64_t{process.usedBytes});
    const auto same = std::find_if(processes.begin() + first, processes.end(),
                                   [&process](const GpuProcess &each) { return each.pid == process.pid; });
    if (same != processes.end()) {
        if (same->usedBytes && used)
            same->usedBytes = *same->usedBytes + *used;
        return;
    }
    GpuProcess &row = processes.append();
    forget(row, Absence::Unsupported);
    row.gpu = gpu;
    row.pid = process.pid;
    row.kind = kind;
    row.usedBytes = used;
}

} // namespace

int NvmlProcesses::readList(List list, nvml::Device device, unsigned &count) {
    unsigned room = std::max(static_cast<unsigned>(m_room.size() / sizeof(nvml::ProcessLong)), roomAtFirst);
    for (;;) {
        m_room.assign(room * sizeof(nvml::ProcessLong), untouched);
        count = room;
        const int result = list(device, &count, m_room.data());
        if (result != nvml::InsufficientSize)
            return result == nvml::Success && count > room ? EBADMSG : nvmlError(result);
        if (room == roomAtMost)
            return E2BIG;
        room = std::min(std::max(2 * room, std::min(count, roomAtMost)), roomAtMost);
    }
}

// Only the longer entries reach beyond the place where the shorter ones end.
std::size_t NvmlProcesses::strideOf(unsigned count) const {
    const auto from = m_room.begin() + static_cast<std::ptrdiff_t>(count * sizeof(nvml::ProcessV2));
    const auto to = m_room.begin() + static_cast<std::ptrdiff_t>(count * sizeof(nvml::ProcessLong));
    const bool longer = std::any_of(from, to, [](unsigned char byte) { return byte != untouched; });
    return longer ? sizeof(nvml::ProcessLong) : sizeof(nvml::ProcessV2);
}

int NvmlProcesses::read(const NvmlGpu &from, const std::string &gpu, Rows<GpuProcess> &processes) {
    struct KindOfUse {
        List list;
        bool isV1;
        std::string_view name;
    };
    const KindOfUse kinds[] = {{from.functions.computeProcesses, from.functions.computeIsV1, "compute"},
                               {from.functions.graphicsProcesses, from.functions.graphicsIsV1, "graphics"}};
    int error = 0;
    for (const KindOfUse &kind : kinds) {
        unsigned count = 0;
        const int failed = kind.list == nullptr ? EOPNOTSUPP : readList(kind.list, from.device, count);
        if (failed != 0) {
            error = error == 0 ? failed : error;
            continue;
        }
        const std::size_t stride = kind.isV1 ? sizeof(nvml::ProcessV1) : strideOf(count);
        const std::size_t first = processes.size();
        for (unsigned index = 0; index < count; ++index) {
            nvml::ProcessV1 process{}; // with which the longer ones begin
            std::memcpy(&process, m_room.data() + index * stride, sizeof process);
            addUse(process, gpu, kind.name, first, processes);
        }
    }
    return error;
}

} // namespace zel
