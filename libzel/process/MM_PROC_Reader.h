// Reads the files of one process. Nothing is parsed here.
#pragma once

#include "MM_PROC_Info.h"
#include "kernel/LinePieces.h"

#include <cstddef>
#include <string_view>

namespace zel {

/// The files of process `pid`, each opened relative to /proc and taken in one read. Their texts are read into `text`
/// of `size` bytes, so that each is valid until the next is asked for.
class ProcessFiles {
public:
    ProcessFiles(int procDirectory, int pid, char *text, std::size_t size);

    ProcessFiles(const ProcessFiles &) = delete;
    ProcessFiles &operator=(const ProcessFiles &) = delete;

    /// The owner of /proc/<pid>. False when there is no such process.
    bool owner(int &uid);
    /// Up to PROC_TEXT_SIZE bytes; null when the file is empty or cannot be read.
    char *stat();
    char *statm();
    /// None when the file cannot be read.
    LinePieces io();
    /// The command line with its zero bytes, cut at `size` - 1 and terminated. Returns its length, 0 without one.
    std::size_t commandLine(char *line, std::size_t size);

private:
    static constexpr std::size_t pidRoom = 12;
    static constexpr std::size_t nameRoom = 12;

    const char *path(std::string_view name);
    char *record(std::string_view name);

    int m_directory;
    char *m_text;
    std::size_t m_size;
    char m_path[pidRoom + nameRoom]; // "123/stat"
    char *m_pidEnd;
};

} // namespace zel
