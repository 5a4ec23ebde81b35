// Reads kernel files whole.
#include "host/source/SourceFile.h"

#include "host/HostOpen.h"

namespace zel {

int SourceFile::read(const HostDirectory &root) {
    const int error = m_source.read(root, [this](int file) { return readOpen(file); });
    if (error != 0)
        m_buffer.clear();
    return error;
}

int SourceFile::readOpen(int file) {
    switch (m_buffer.read(file, FileBuffer::Start::Beginning, m_records)) {
    case FileBuffer::Outcome::Read:
        return m_buffer.length() < HOST_FILE_LIMIT ? 0 : EFBIG;
    case FileBuffer::Outcome::NoMemory:
        return ENOMEM;
    case FileBuffer::Outcome::Failed:
        break;
    }
    return errno;
}

} // namespace zel
