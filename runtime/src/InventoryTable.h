// The inventory tables and the files that carry them: one line, marker "|" table.
#pragma once

#include "PerfText.h"

#include <initializer_list>
#include <string>

namespace inventory {

/// A table in the layout of the performance text; its first column is the row's number.
class Table {
public:
    explicit Table(std::initializer_list<const char *> columns);
    ~Table();
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    /// One row; an empty value is written as "-".
    void row(std::initializer_list<std::string> values);

    /// Writes marker, "|" and the table as one line into `path`. The file appears whole: it is written beside its place
    /// and renamed. False, with a message on standard error, when that failed.
    bool writeTo(const char *path, const char *marker) const;

private:
    char *m_buffer = nullptr;
    int m_size = 0;
    CPerfText m_text;
    int m_rows = 0;
};

/// One inventory each: reads the host and writes the file. False when a file cannot be written.
bool writeCpuInventory();
bool writeDiskInventory();
bool writeInterfaceInventory();
bool writeHbaInventory();

} // namespace inventory
