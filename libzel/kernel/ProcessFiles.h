// Reads the files of one process, from descriptors that stay open where there are any. Nothing is parsed here.
#pragma once

#include "kernel/KeptProcesses.h"
#include "kernel/LinePieces.h"

#include <cstddef>
#include <string_view>
#include <sys/types.h>

namespace zel {

/// Most bytes that are taken of stat and of statm.
inline constexpr std::size_t PROCESS_RECORD_SIZE = 10240;

/// The files of process `pid`, each relative to `directory`, an open /proc, and taken in one read. Their texts are read
/// into `text` of `size` bytes, so that each is valid until the next is asked for. `kept`, which is in a scan of
/// `directory`, lends what is open and takes what stays open; without it every file is opened anew.
///
/// A kept file that cannot be read is opened anew before that counts.
class ProcessFiles {
public:
    ProcessFiles(int directory, int pid, char *text, std::size_t size, KeptProcesses *kept = nullptr);

    ProcessFiles(const ProcessFiles &) = delete;
    ProcessFiles &operator=(const ProcessFiles &) = delete;

    /// The owner of /proc/<pid>, to be asked for before anything else. False when there is no such process.
    bool owner(int &uid);
    /// Up to PROCESS_RECORD_SIZE bytes; null when the file is empty or cannot be read.
    char *stat();
    /// The field "flags" of stat: a kernel thread of the kernel's own /proc has no memory and no command line, and what
    /// follows gives what its files would give, without reading them. The io of a process that ends is opened anew.
    void takeFlags(unsigned long flags);
    char *statm();
    /// None when the file cannot be read.
    LinePieces io();
    /// The command line with its zero bytes, cut at `size` - 1 and terminated. Returns its length, 0 without one.
    std::size_t commandLine(char *line, std::size_t size);
    /// Why the file that was asked for last gave nothing: the errno of its open or read, 0 when it is empty.
    int error() const { return m_error; }

private:
    static constexpr std::size_t pidRoom = 12;
    static constexpr std::size_t nameRoom = 12;

    const char *path(std::string_view name);
    char *record(ProcessFile file);
    ScopedDescriptor open(ProcessFile file);
    bool statusOf(std::string_view name, struct stat &status);
    ssize_t readKept(ProcessFile file, char *text, std::size_t size);
    ssize_t readCommandLine(char *line, std::size_t size);
    bool isOfKind(ProcessFile file, std::string_view text) const;
    void keep(ProcessFile file, ScopedDescriptor opened);

    int m_directory;
    char *m_text;
    std::size_t m_size;
    KeptProcesses *m_kept;
    KeptProcess *m_process; // null for one that has nothing open
    bool m_isKernelThread = false;
    int m_error = 0;
    bool m_isEnding = false;
    char m_path[pidRoom + nameRoom]; // "123/stat"
    char *m_pidEnd;
};

} // namespace zel
