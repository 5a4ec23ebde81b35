// A host with processes of the test's making, and the process tables read back.
#pragma once

#include "HostFixture.h"
#include "PerfTextReader.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One process as /proc shows it. The start time and the CPU times are clock ticks.
struct FakeProcess {
    int pid = 0;
    std::string name = "sleeper";
    std::string commandLine = std::string("/bin/sleeper\0", 13); // arguments, each with its zero byte
    char state = 'S';
    int ppid = 1;
    int session = 77;
    int priority = 20;
    int nice = 0;
    long utime = 0;
    long stime = 0;
    long threads = 1;
    long start = 0;
    unsigned long virtualBytes = 0;
    long residentPages = 0;
    std::optional<std::pair<unsigned long long, unsigned long long>> io = std::pair(0ULL, 0ULL); // bytes read, written
};

/// The stat line that the kernel writes about the process.
std::string statLine(const FakeProcess &process);

class ProcessHost {
public:
    /// 8000000 kB of memory, up for 1000.50 seconds, one processor, no process.
    ProcessHost();

    void put(const FakeProcess &process) const;
    void remove(int pid) const;
    void processors(int count) const;
    void uptime(const std::string &text) const { write("proc/uptime", text); }
    void write(const std::string &relativePath, const std::string &text) const;
    /// Removes a file or a directory.
    void erase(const std::string &relativePath) const;

private:
    void replace(const std::string &relativePath, const std::string &text) const;

    HostFixture m_host;
    mutable std::map<std::string, std::string> m_texts; // of the files of processes
};

/// A process table read back; the test fails when it is not one.
class ProcessTable {
public:
    explicit ProcessTable(const char *text);

    const std::vector<std::string> &columns() const { return m_columns; }
    std::size_t size() const { return m_rows.size(); }
    bool ended() const { return m_ended; }
    bool has(int pid) const;
    /// The value of the process `pid` in `column`, "(no row)" without the process.
    std::string value(int pid, const std::string &column) const;
    /// The values of one column, in the order of the rows.
    std::vector<std::string> values(const std::string &column) const;

private:
    friend class ProcessPush;
    ProcessTable() = default;

    std::vector<std::string> m_columns;
    std::vector<std::map<std::string, std::string>> m_rows;
    bool m_ended = false;
};

/// A push text with one table, such as the busiest processes or the real-time list.
class ProcessPush {
public:
    explicit ProcessPush(const char *text);

    std::string key;
    std::string code;
    ProcessTable table;
};

// ---------------------------------------------------------------------------------------------------------------------

inline std::string statLine(const FakeProcess &process) {
    char tail[1024];
    std::snprintf(tail, sizeof(tail),
                  ") %c %d %d %d 0 -1 4194560 1260 8000 22 35 %ld %ld 3 4 %d %d %ld 0 %ld %lu %ld 18446744073709551615 "
                  "94014432096256 94014432118897 140722914853168 0 0 0 65536 4096 134217730 1 0 0 17 1 0 0 0 0 0\n",
                  process.state, process.ppid, process.pid, process.session, process.utime, process.stime,
                  process.priority, process.nice, process.threads, process.start, process.virtualBytes,
                  process.residentPages);
    return std::to_string(process.pid) + " (" + process.name + tail;
}

inline ProcessHost::ProcessHost() {
    write("proc/meminfo", "MemTotal:        8000000 kB\nMemFree:         1000000 kB\n");
    uptime("1000.50 1800.25\n");
    processors(1);
}

inline void ProcessHost::put(const FakeProcess &process) const {
    const std::string directory = "proc/" + std::to_string(process.pid) + "/";
    replace(directory + "stat", statLine(process));
    replace(directory + "statm", "43005 " + std::to_string(process.residentPages) + " 1200 200 0 1500 0\n");
    replace(directory + "cmdline", process.commandLine);
    if (!process.io) {
        erase(directory + "io");
        return;
    }
    replace(directory + "io",
            "rchar: 111\nwchar: 222\nsyscr: 3\nsyscw: 4\nread_bytes: " + std::to_string(process.io->first) +
                "\nwrite_bytes: " + std::to_string(process.io->second) + "\ncancelled_write_bytes: 99999\n");
}

// A file that would not change is left, and another one is made anew: to write over one waits for the disk.
inline void ProcessHost::replace(const std::string &relativePath, const std::string &text) const {
    const auto known = m_texts.find(relativePath);
    if (known != m_texts.end() && known->second == text)
        return;
    m_host.remove(relativePath);
    m_host.write(relativePath, text);
    m_texts[relativePath] = text;
}

inline void ProcessHost::remove(int pid) const {
    erase("proc/" + std::to_string(pid));
}

inline void ProcessHost::write(const std::string &relativePath, const std::string &text) const {
    m_host.write(relativePath, text);
    m_texts.erase(relativePath);
}

inline void ProcessHost::erase(const std::string &relativePath) const {
    m_host.remove(relativePath);
    std::erase_if(m_texts,
                  [&relativePath](const auto &known) { return (known.first + "/").starts_with(relativePath + "/"); });
}

inline void ProcessHost::processors(int count) const {
    std::string text = "cpu  1 2 3 4 5 6 7 0 0 0\n";
    for (int i = 0; i < count; ++i)
        text += "cpu" + std::to_string(i) + " 1 2 3 4 5 6 7 0 0 0\n";
    write("proc/stat", text + "intr 12 1 2 3\nctxt 99\nbtime 1699999000\nprocesses 5\n");
}

namespace process_host_detail {

template<class Rows> void copyTable(const PerfTable &table, std::vector<std::string> &columns, Rows &rows) {
    columns.assign(table.columns.begin(), table.columns.end());
    for (const auto &values : table.rows) {
        rows.emplace_back();
        for (std::size_t i = 0; i < values.size() && i < columns.size(); ++i)
            rows.back()[columns[i]] = values[i];
    }
}

} // namespace process_host_detail

inline ProcessTable::ProcessTable(const char *text) {
    PerfTable table;
    PerfTextError error;
    EXPECT_NE(text, nullptr);
    if (text == nullptr)
        return;
    EXPECT_TRUE(fgReadPerfTable(text, table, error)) << error.reason << " at " << error.offset << " of " << text;
    process_host_detail::copyTable(table, m_columns, m_rows);
    m_ended = table.ended;
}

inline bool ProcessTable::has(int pid) const {
    return value(pid, "PID") != "(no row)";
}

inline std::string ProcessTable::value(int pid, const std::string &column) const {
    for (const auto &row : m_rows) {
        const auto found = row.find(column);
        if (row.contains("PID") && row.at("PID") == std::to_string(pid))
            return found == row.end() ? "(no column)" : found->second;
    }
    return "(no row)";
}

inline std::vector<std::string> ProcessTable::values(const std::string &column) const {
    std::vector<std::string> result;
    for (const auto &row : m_rows)
        result.push_back(row.contains(column) ? row.at(column) : "(no column)");
    return result;
}

inline ProcessPush::ProcessPush(const char *text) {
    PerfPush push;
    PerfTextError error;
    EXPECT_NE(text, nullptr);
    if (text == nullptr)
        return;
    EXPECT_TRUE(fgReadPerfPush(text, push, error)) << error.reason << " at " << error.offset << " of " << text;
    EXPECT_EQ(push.metrics.size(), 1U);
    if (push.metrics.empty())
        return;
    key = push.key;
    code = push.metrics[0].code;
    process_host_detail::copyTable(push.metrics[0].table, table.m_columns, table.m_rows);
    table.m_ended = push.metrics[0].table.ended;
}
