// The records that no receiver has acknowledged yet, oldest first. New ones wait in memory; they go to the buffer files
// of ../buffer (fgBufFileWrite) when they are not delivered within a second, so that sampling never waits for a
// receiver and a kill costs no more than that second. The files survive the agent.
//
// Records are lost in two cases, each with a notice: the files grow beyond their budget (g_nDataBufferSaveMaxSize; the
// oldest file goes), or they cannot be written and more than 8 MB wait in memory (the oldest records go).
//
// One thread puts records, another one takes and acknowledges them.
#pragma once

#include "KeptFiles.h"
#include "Numbering.h"
#include "Record.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>

namespace agent {

class Backlog {
public:
    explicit Backlog(Numbering &numbering);

    /// Gives the text a number and adds it. Null and empty texts are no records.
    void put(const char *name, const char *text);

    /// Copies the oldest record; waits for one as long as `patience` says. False when there is none.
    bool next(Record &record, std::chrono::milliseconds patience);
    /// Removes the oldest record once it is delivered, wherever it is by now.
    void acknowledge(const RecordHead &head);

    /// Moves all that waits in memory to the buffer files.
    void keep();
    /// The same, once the oldest of them has waited for a second. To be called every now and then.
    void keepLongWaiting();

private:
    struct Waiting {
        Record record;
        std::chrono::steady_clock::time_point since;
    };

    bool isEmpty() const { return m_waiting.empty() && m_kept.oldest() == nullptr; }
    void keepWaiting();
    bool writeOldestWaiting();
    void dropOldestWaiting();
    void loseWhatIsTooMuch();

    std::mutex m_mutex; // of everything below, and of the buffer files
    std::condition_variable m_arrived;
    Numbering &m_numbering;
    KeptFiles m_kept;
    std::deque<Waiting> m_waiting; // younger than all that is kept
    std::size_t m_waitingBytes = 0;
    unsigned long long m_lost = 0; // since the files could not be written
};

} // namespace agent
