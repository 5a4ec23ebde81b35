// The buffer files of ../buffer that hold records which were not delivered, as one queue: the oldest record is the one
// with the lowest number, whatever the files are named and whenever they were changed. Records of an earlier series are
// older than all of the present one.
//
// A file is deleted with its last record. One that held anything but whole records is set aside instead, under the name
// damaged_1 to damaged_9, with a notice; so is one that cannot be read.
#pragma once

#include "KeptFile.h"
#include "Record.h"

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace agent {

class KeptFiles {
public:
    /// `series` is the present one.
    explicit KeptFiles(std::string series) : m_series(std::move(series)) {}

    /// Looks for files, and for what was added to them: at the start and after every record that was written.
    void look();
    /// The head of the oldest record; null when none is kept.
    const RecordHead *oldest() const;
    /// Reads the oldest record; false when it could not be read and was passed over.
    bool read(Record &record);
    /// Goes on to the next record.
    void dropOldest();

private:
    KeptFile *fileOfOldest() const;
    bool isKnown(const std::string &path) const;
    bool isOlder(const RecordHead &head, const RecordHead &other) const;
    void forgetDeletedFiles();
    void addNewFiles();
    void removeFinishedFiles();

    std::string m_series;
    std::vector<std::unique_ptr<KeptFile>> m_files;
    std::set<std::string> m_leftAlone; // paths that can neither be read nor set aside
};

} // namespace agent
