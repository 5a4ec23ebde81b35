// The files of one process, read with as few system calls as they need.
#include "kernel/ProcessFiles.h"

#include "host/HostOpen.h"
#include "kernel/KernelFile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel {

namespace {

constexpr unsigned long endingFlag = 0x00000004;       // PF_EXITING
constexpr unsigned long kernelThreadFlag = 0x00200000; // PF_KTHREAD
constexpr std::string_view memoryOfKernelThreads = "0 0 0 0 0 0 0\n";

// In the order of ProcessFile.
constexpr std::string_view names[] = {"/cmdline", "/io", "/stat", "/statm"};
static_assert(std::size(names) == PROCESS_FILES);

// A name that leads to the directory of the process by way of that directory, so that its rights count as they do for
// its files: a /proc may hide processes that can still be seen (hidepid).
constexpr std::string_view ownDirectory = "/.";

bool isOfNumbers(char byte) {
    return byte == ' ' || (byte >= '0' && byte <= '9');
}

bool isOutOfDescriptors(int error) {
    return error == EMFILE || error == ENFILE;
}

} // namespace

ProcessFiles::ProcessFiles(int directory, int pid, char *text, std::size_t size, KeptProcesses *kept)
    : m_directory(directory), m_text(text), m_size(size), m_kept(kept),
      m_process(kept == nullptr ? nullptr : kept->find(pid)),
      m_pidEnd(std::to_chars(m_path, m_path + pidRoom, pid).ptr) {}

const char *ProcessFiles::path(std::string_view name) {
    std::memcpy(m_pidEnd, name.data(), name.size());
    m_pidEnd[name.size()] = '\0';
    return m_path;
}

ScopedDescriptor ProcessFiles::open(ProcessFile file) {
    const char *name = path(names[static_cast<std::size_t>(file)]);
    ScopedDescriptor opened = openHostFileAt(m_directory, name);
    if (!opened.valid() && isOutOfDescriptors(errno) && m_kept != nullptr && m_kept->makeWay())
        opened = openHostFileAt(m_directory, name);
    return opened;
}

void ProcessFiles::keep(ProcessFile file, ScopedDescriptor opened) {
    if (m_kept == nullptr)
        return;
    m_kept->countUse(file);
    if (m_process != nullptr && !(m_isEnding && file == ProcessFile::Io))
        m_kept->keep(*m_process, file, std::move(opened));
}

// Whether a text can only be of this kind of file, and that of stat only of this process.
bool ProcessFiles::isOfKind(ProcessFile file, std::string_view text) const {
    const std::string_view pid(m_path, static_cast<std::size_t>(m_pidEnd - m_path));
    switch (file) {
    case ProcessFile::Stat:
        return text.starts_with(pid) && text.substr(pid.size()).starts_with(" (");
    case ProcessFile::Statm:
        return text.back() == '\n' && std::all_of(text.begin(), text.end() - 1, isOfNumbers);
    case ProcessFile::Io:
        return text.starts_with("rchar: ");
    case ProcessFile::CommandLine:
        break;
    }
    return false;
}

// Bytes that a file that stayed open gave, without a terminator; -1 when it has to be opened anew. Only a command line
// may be empty.
ssize_t ProcessFiles::readKept(ProcessFile file, char *text, std::size_t size) {
    const int descriptor = m_process == nullptr ? -1 : m_process->descriptor(file);
    if (descriptor < 0)
        return -1;
    const bool isCommandLine = file == ProcessFile::CommandLine;
    if (isCommandLine && !m_kept->confirm(*m_process, file))
        return -1;
    const ssize_t length = pread(descriptor, text, size, 0);
    if (length > 0 && (isCommandLine || isOfKind(file, {text, static_cast<std::size_t>(length)}) ||
                       m_kept->confirm(*m_process, file)))
        return length;
    if (length == 0 && isCommandLine)
        return length;
    if (length < 0 && errno == ESRCH)
        m_kept->drop(*m_process); // all of them are of a process that has ended
    else if (length <= 0 && m_kept->confirm(*m_process, file))
        m_kept->drop(*m_process, file);
    return -1;
}

char *ProcessFiles::record(ProcessFile file) {
    const std::size_t size = std::min(m_size, PROCESS_RECORD_SIZE + 1);
    m_error = 0;
    if (const ssize_t length = readKept(file, m_text, size - 1); length > 0) {
        m_kept->countUse(file);
        m_text[length] = '\0';
        return m_text;
    }
    ScopedDescriptor opened = open(file);
    m_error = opened.valid() ? 0 : errno;
    const FileText text = readKernelFile(opened, m_text, size);
    if (text.failure == FileText::Failure::NotRead)
        m_error = errno;
    if (!text)
        return nullptr;
    keep(file, std::move(opened));
    return m_text;
}

bool ProcessFiles::statusOf(std::string_view name, struct stat &status) {
    return fstatat(m_directory, path(name), &status, 0) == 0;
}

bool ProcessFiles::owner(int &uid) {
    struct stat status {};
    const bool hasFiles = m_process != nullptr && m_process->hasFiles();
    if (!statusOf(hasFiles ? ownDirectory : "", status)) {
        if (!hasFiles)
            return false;
        m_kept->drop(*m_process);
        if (!statusOf("", status))
            return false;
    }
    uid = static_cast<int>(status.st_uid);
    if (m_process != nullptr)
        m_kept->takeOwner(*m_process, status.st_uid, status.st_gid);
    return true;
}

char *ProcessFiles::stat() {
    return record(ProcessFile::Stat);
}

void ProcessFiles::takeFlags(unsigned long flags) {
    m_isEnding = (flags & endingFlag) != 0;
    m_isKernelThread = (flags & kernelThreadFlag) != 0 && m_kept != nullptr && m_kept->isKernelsOwn();
}

char *ProcessFiles::statm() {
    if (!m_isKernelThread)
        return record(ProcessFile::Statm);
    const std::size_t length = std::min(memoryOfKernelThreads.size(), m_size - 1);
    std::memcpy(m_text, memoryOfKernelThreads.data(), length);
    m_text[length] = '\0';
    return m_text;
}

// The kernel's own file is short; one of a tree may be of any length. That of a process whose first thread has ended
// belongs to root: its user opens it no more, though an open one still answers him.
LinePieces ProcessFiles::io() {
    if (m_kept == nullptr || !m_kept->isKernelsOwn())
        return {open(ProcessFile::Io), m_text, m_size};
    if (m_isEnding && m_process != nullptr)
        m_kept->drop(*m_process, ProcessFile::Io);
    const char *text = record(ProcessFile::Io);
    return {m_text, text == nullptr ? 0 : std::strlen(text)};
}

// The kernel gives a command line of any length in one read.
ssize_t ProcessFiles::readCommandLine(char *line, std::size_t size) {
    constexpr ProcessFile file = ProcessFile::CommandLine;
    m_error = 0;
    if (const ssize_t length = readKept(file, line, size); length >= 0) {
        m_kept->countUse(file);
        return length;
    }
    ScopedDescriptor opened = open(file);
    const ssize_t length = opened.valid() ? read(opened.get(), line, size) : -1;
    m_error = length < 0 ? errno : 0;
    if (length >= 0)
        keep(file, std::move(opened));
    return length;
}

std::size_t ProcessFiles::commandLine(char *line, std::size_t size) {
    const ssize_t read = m_isKernelThread ? 0 : readCommandLine(line, size - 1);
    const auto length = static_cast<std::size_t>(std::max<ssize_t>(read, 0));
    line[length] = '\0';
    return length;
}

} // namespace zel
