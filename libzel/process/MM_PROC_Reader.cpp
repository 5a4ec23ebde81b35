// The files of one process, read with as few system calls as they need.
#include "process/MM_PROC_Reader.h"

#include "host/HostOpen.h"
#include "kernel/KernelFile.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace zel {

ProcessFiles::ProcessFiles(int procDirectory, int pid, char *text, std::size_t size)
    : m_directory(procDirectory), m_text(text), m_size(size),
      m_pidEnd(std::to_chars(m_path, m_path + pidRoom, pid).ptr) {}

const char *ProcessFiles::path(std::string_view name) {
    std::memcpy(m_pidEnd, name.data(), name.size());
    m_pidEnd[name.size()] = '\0';
    return m_path;
}

char *ProcessFiles::record(std::string_view name) {
    const std::size_t size = std::min<std::size_t>(m_size, PROC_TEXT_SIZE + 1);
    return readKernelFile(openHostFileAt(m_directory, path(name)), m_text, size) ? m_text : nullptr;
}

bool ProcessFiles::owner(int &uid) {
    struct stat status {};
    if (fstatat(m_directory, path(""), &status, 0) != 0)
        return false;
    uid = static_cast<int>(status.st_uid);
    return true;
}

char *ProcessFiles::stat() {
    return record("/stat");
}

char *ProcessFiles::statm() {
    return record("/statm");
}

LinePieces ProcessFiles::io() {
    return {openHostFileAt(m_directory, path("/io")), m_text, m_size};
}

// The kernel gives a command line of any length in one read.
std::size_t ProcessFiles::commandLine(char *line, std::size_t size) {
    const ScopedDescriptor file = openHostFileAt(m_directory, path("/cmdline"));
    const ssize_t length = file.valid() ? read(file.get(), line, size - 1) : 0;
    line[std::max<ssize_t>(length, 0)] = '\0';
    return static_cast<std::size_t>(std::max<ssize_t>(length, 0));
}

} // namespace zel
