// Reads /proc/stat, which every sample of the CPU and VM collectors needs.
//
// The buffer is large enough for the machines that the collectors know, and reading zeroes the buffer that it is given:
// for the few lines of a small machine that would cost more than the rest of the sample. The reader therefore uses only
// as much of the buffer as the file has needed so far.
#pragma once

namespace zel {

class StatReader {
public:
    /// Size of the buffer that `read` takes. A longer file is cut.
    static constexpr int BUFFER_SIZE = 65536;

    /// Reads the file into `text` of BUFFER_SIZE bytes, terminated. Returns its length, 0 when it cannot be read.
    int read(char *text);

private:
    static constexpr int FIRST_ROOM = 4096;

    int m_room = FIRST_ROOM; // bytes of the buffer in use
};

} // namespace zel
