// Reads all NVIDIA GPUs of this host.
#include "host/gpu/NvmlSession.h"

#include "host/source/Clocks.h"

#include <algorithm>
#include <cerrno>

namespace zel {

// The library is open and the GPUs are known.
int NvmlSession::begin(NvmlAnswer &answer) {
    const auto now = std::chrono::steady_clock::now();
    const bool isDue = now >= m_describeAt;
    if (isDue && m_isLost)
        m_library.close();
    if (!m_library.isOpen())
        m_gpus.clear();
    if (const int error = m_library.open(); error != 0)
        return error;
    unsigned count = 0;
    if (const int result = m_library.functions().deviceCount(&count); result != nvml::Success) {
        m_library.close();
        return nvmlError(result);
    }
    if (count > GPUS_AT_MOST)
        answer.partError = E2BIG;
    count = std::min(count, GPUS_AT_MOST);
    if (isDue || count != m_gpus.size()) {
        describe(count);
        m_describeAt = now + DESCRIPTION_PERIOD;
    }
    return 0;
}

void NvmlSession::describe(unsigned count) {
    m_isLost = false;
    m_gpus.resize(count);
    for (unsigned index = 0; index < count; ++index) {
        Known &known = m_gpus[index];
        known.device = nullptr;
        known.error = nvmlError(m_library.functions().deviceByIndex(index, &known.device));
        known.gpu.gpu = "nvidia" + std::to_string(index);
        forget(known.gpu, Absence::Unsupported);
        if (known.error == 0)
            describeNvmlGpu({m_library.functions(), known.device}, known.gpu);
    }
}

void NvmlSession::readGpus(NvmlAnswer &answer) {
    for (Known &known : m_gpus) {
        int error = known.error;
        if (error == 0)
            error = readNvmlGpu({m_library.functions(), known.device}, known.gpu);
        else
            forget(known.gpu, absenceOf(error));
        m_isLost = m_isLost || error == ENODEV;
        answer.gpus.append() = known.gpu;
        if (error == 0)
            error = m_processes.read({m_library.functions(), known.device}, known.gpu.gpu, answer.processes);
        if (answer.partError == 0 && error != EOPNOTSUPP)
            answer.partError = error;
    }
}

void NvmlSession::read(NvmlAnswer &answer) {
    m_wasUsed = true;
    const std::int64_t before = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
    answer.error = begin(answer);
    if (answer.error == 0)
        readGpus(answer);
    answer.costSeconds = secondsSince(before, CLOCK_THREAD_CPUTIME_ID);
}

} // namespace zel
