#include "StatReader.h"

#include "SSUtil.h"

#include <algorithm>

namespace zel {

int StatReader::read(char *text) {
    const int length = CSSUtil::fFile2Buff("/proc/stat", text, m_room);
    if (length < m_room - 1 || m_room == BUFFER_SIZE)
        return length;
    const int wholeLength = CSSUtil::fFile2Buff("/proc/stat", text, BUFFER_SIZE);
    m_room = std::min(2 * std::max(wholeLength, FIRST_ROOM), BUFFER_SIZE);
    return wholeLength;
}

} // namespace zel
