// Stores records on standard output and remembers the last number of every host and series, so that a record that comes
// again is not stored again.
//
// A record is stored as its line and its text: rows start a line that begins with two blanks, values follow one blank.
// Every other control byte is a blank, so that no text can look like another record or give a terminal commands.
#pragma once

#include "ReceivedRecord.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

// When the output is a file, the numbers of the records that it holds are read back at the start; a last record that
// was cut in the middle of a line is taken out of the file, because its sender has no answer yet. On anything else,
// such as a pipe, or a file that may not be read, a restarted receiver stores records again that come again.
class RecordStore {
public:
    RecordStore();

    /// Writes and flushes the records that are new, to the disk where the output is a file. True: all of them, and
    /// those that came before, are stored for good. Otherwise none of the new ones counts as stored, and a file is cut
    /// back to what it held.
    bool store(const std::vector<ReceivedRecord> &records);

private:
    using Numbering = std::pair<std::string, std::string>; // host and series

    unsigned long long lastNumber(const Numbering &numbering) const;

    std::map<Numbering, unsigned long long> m_lastNumbers;
};
