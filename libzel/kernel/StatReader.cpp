#include "kernel/StatReader.h"

#include "kernel/KernelFile.h"

#include <algorithm>

namespace zel {

int StatReader::read(char *text) {
    const int length = std::max(readKernelText("/proc/stat", text, m_room), 0);
    if (length < m_room - 1 || m_room == BUFFER_SIZE)
        return length;
    const int wholeLength = std::max(readKernelText("/proc/stat", text, BUFFER_SIZE), 0);
    m_room = std::min(2 * std::max(wholeLength, FIRST_ROOM), BUFFER_SIZE);
    return wholeLength;
}

} // namespace zel
