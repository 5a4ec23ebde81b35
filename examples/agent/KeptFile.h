// Reads one buffer file, record by record. A record of the file, with field separator F and metric separator M:
//
//   TIME F HEAD F TEXT F M \n
//
// HEAD is the line of Record.h, whose BYTES say where the text ends. Whatever is no whole record, such as the torn end
// that a power failure leaves, is passed over, also when further records were written after it.
#pragma once

#include "Descriptor.h"
#include "Record.h"

#include <string>
#include <sys/types.h>

namespace agent {

class KeptFile {
public:
    /// Opens the file, with no record yet.
    explicit KeptFile(std::string path);

    const std::string &path() const { return m_path; }
    /// Why the file could not be opened; 0: it is open.
    int openError() const { return m_openError; }
    /// Whether the library has deleted the file to keep the budget.
    bool isDeleted() const;

    /// Goes to the next whole record; false when there is none (yet).
    bool advance();
    /// Whether there is a record: the last advance found one.
    bool hasRecord() const { return m_hasRecord; }
    const RecordHead &head() const { return m_head; }
    /// Reads the text of the record; false when it is no longer there.
    bool readText(std::string &text) const;

    /// Once there is no further record: whether anything in the file was none.
    bool isDamaged() const;

    /// Set when the file could neither be deleted nor set aside; the next record that is found in it clears it.
    bool isStuck = false;

private:
    off_t size() const;
    std::string readAt(off_t offset, std::size_t length) const;
    bool takeRecordAt(off_t headAt, std::string_view afterField);
    bool endsAt(off_t offset) const;
    bool isTime(off_t from, off_t to) const;

    std::string m_path;
    Descriptor m_file;
    int m_openError = 0;
    bool m_hasRecord = false;
    bool m_damaged = false;
    RecordHead m_head;
    off_t m_textAt = 0; // of the record
    off_t m_next = 0;   // after the record
};

} // namespace agent
