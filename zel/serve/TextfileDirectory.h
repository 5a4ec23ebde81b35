// The directory in which other programs leave metrics for a scrape, *.prom: what they hold becomes part of /metrics.
//
//   node_textfile_mtime_seconds{file="/var/lib/zel/textfile/backup.prom"} 1795343931    each file that was taken
//   node_textfile_scrape_error 0                                                        1: a file, or part of one, was
//   not
//
// Files are taken by name, whole or not at all. A family that a file before it (or the host itself) has with another
// type or help is left out, and so is a series that is there already. Other than a regular file counts as an error, as
// does what is too long: nothing is waited for. What did not change is not read again. The files are looked at on a
// bounded call, so that a directory on a filesystem that hangs costs its limit once.
#pragma once

#include "export/MetricSink.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

struct TextfileLimits {
    std::size_t bytes = 0; // of one file
    std::size_t files = 0;
};

/// What all files of the directory give together.
struct TextfileContent {
    struct Family {
        std::string name, paths;                   // of the files that it is from
        std::string text, openText;                // in both formats, with their headers
        std::vector<std::string> names, openNames; // that nothing else may have there
    };
    struct File {
        std::string path;
        std::uint64_t mtimeSeconds = 0;
    };
    std::vector<Family> families; // by name
    std::vector<File> files;      // that were taken
    std::vector<std::string> problems;
};

/// Belongs to one thread.
class TextfileDirectory {
public:
    /// An empty path: there is none, and no error.
    TextfileDirectory(std::string path, TextfileLimits limits);
    ~TextfileDirectory();
    TextfileDirectory(const TextfileDirectory &) = delete;
    TextfileDirectory &operator=(const TextfileDirectory &) = delete;

    /// Looks at the files, for `limit` at most.
    void refresh(std::chrono::milliseconds limit);
    /// Appends them to a text of families that has no end yet.
    void append(MetricFormat format, std::string &out);
    /// What was wrong with the files, where it is not what it was at the last call.
    std::vector<std::string> newProblems();

private:
    struct Files;
    bool appendFamilies(MetricFormat format, std::string &out);
    std::string m_path;
    std::shared_ptr<Files> m_files; // of the call that may still run
    std::shared_ptr<const TextfileContent> m_content;
    bool m_silent = false;
    std::set<std::string> m_leftOut; // problems of families whose names the text has
    std::vector<std::string> m_reported;
    MetricSink m_sink;
};

} // namespace zel
