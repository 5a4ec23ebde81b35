// CVornLog: the library's diagnostic log. One text file per day in a log directory, continued in numbered files when it
// grows past its size limit, optionally compressed, deleted after a number of days:
//
//   20240131_agent.log  20240131_agent_1.log  20240131_agent_2.log ...
//   [134501][INFO][MM_CPU_Info][212]cpu read failed
//
// A logger writes in direct mode (on the calling thread) or in thread mode (callers queue, one background thread
// writes). The embedding program creates it, stores it in g_pclVornLog (LogGate.h) and owns it. The library's own calls
// go through zel::writeLog and never reach a logger that is being destroyed; a program that calls the logger directly
// stops doing so before it destroys it.
//
// Threads: in direct mode one thread at a time, or any number after fSetThreadChk(1). In thread mode any number. The
// setters and fSetLogModeBit may be called while other threads log.
//
// Failures cost lines, never the caller: a file that cannot be opened is announced once per attempt on standard error,
// and a message for which there is no room (in the file system, below the limit of file sizes, in a full queue) is left
// out whole. The next line that fits follows an account of them:
//
//   [134501][INFO][VornLog]169 messages lost
//
// No write ends the program by SIGPIPE or SIGXFSZ.
//
// After fork() the child has a logger in direct mode on the same file, also where the parent's writes through its
// queue: what is queued then is written by the parent alone. fork() waits for no line that is being written.
#pragma once

#include "LogGate.h"
#include "Queue.h"

#include <ctime>
#include <memory>
#include <pthread.h>

namespace zel {
struct LogState;
}

inline constexpr int LOG_QUEUE_LIMIT = 501;              // messages queued; further ones are lost
inline constexpr unsigned long LOG_SIZE_DEFAULT = 10240; // bytes
inline constexpr int LOG_VALID_DAYS_DEFAULT = 2;

/// Taken by every fLogWrite of a logger with m_nThreadChk 1.
extern pthread_mutex_t l_gstLogMutexLock;

/// One queued message of thread mode. A longer text is cut.
struct MessageQWriteLog {
    char m_strCollectData[2048];
    int m_nLine;
    char m_strFileName[64];
};

class CVornLog {
public:
    /// Direct mode. `logMode` as fSetLogMode, `validDay` as fSetValidDay. `name` is the owner's short name (at most 15
    /// characters), part of every file name. Nothing is opened before the first write.
    CVornLog(int logMode, const char *name, int validDay);
    /// The same; with `threadMode` 1 in thread mode. When the thread cannot be started the logger works in direct mode
    /// under the mutex.
    CVornLog(int logMode, const char *name, int validDay, int threadMode);
    /// Writes what is queued, then closes the file. Does not wait for the writer thread: it finds its logger gone and
    /// ends. The emptied queue stays valid for whoever still holds it.
    ~CVornLog();

    CVornLog(const CVornLog &) = delete;
    CVornLog &operator=(const CVornLog &) = delete;

    // Settings ------------------------------------------------------------------------------------------------------

    /// 1: debug lines are written too; 2, 3: only information lines. Any other value sets 2 and returns 0, else 1.
    int fSetLogMode(int mode);
    int fGetLogMode();
    /// Days that old files are kept. A negative value sets 2 and returns 0, else 1.
    int fSetValidDay(int days);
    /// The log directory, with its trailing "/"; "./" at first. Used from the next file on. Returns 1, 0 for null.
    int fSetLogPath(const char *directory);
    /// The size at which a file is full: `unit` 1 megabytes, 2 kilobytes, any other: 0, so that every write starts a
    /// new file. A negative `size` sets 10240 bytes and returns 0, else 1.
    int fSetLogSize(int size, int unit);
    /// 1 or more: every fLogWrite takes l_gstLogMutexLock. Returns 1.
    int fSetThreadChk(int on);
    /// 1 or more: the previous file is compressed at the change of date. Returns 1. A file that is full is always
    /// compressed.
    int fSetLogCompress(int on);

    /// Sets the nine words of the log gate from keywords; `spec` is not changed. Either one word:
    ///   ERROR    all error messages      NORMAL  errors and notices      DEBUG  everything      any other text nothing
    /// or groups LEVEL:MODULES:DETAILS, separated by "|", the lists by ",", such as
    ///   NORMAL:LAB:14|ERROR:UNI,TCP:LIB|NOLOG:LAB:3
    /// Levels ERROR, NORMAL, DEBUG and NOLOG (which clears); modules ALL, UNI, TCP, EVU, LAB. Malformed groups are
    /// announced on standard error. Returns -1 for null, which closes every gate, else 1.
    static int fSetLogModeBit(const char *spec);

    // Writing -------------------------------------------------------------------------------------------------------

    /// Writes one message of `level` (1 debug; 2, 3 information) with the caller's source name and line. In thread mode
    /// the message is queued and written as information whatever its level, under the source name "src" and line 0
    /// when the form without a line was called.
    void fLogWrite(int level, const char *file, const char *message);
    void fLogWrite(int level, int line, const char *file, const char *message);
    /// Formats and writes one line on the calling thread, without the mutex. The line that finds its file full or
    /// removed is not written: it starts the next file. A debug line that is not wanted still runs these checks.
    void fWrite(int level, const char *file, const char *message);
    void fWrite(int level, int line, const char *file, const char *message);

    // File management, run by fWrite --------------------------------------------------------------------------------

    /// Local time of `t`, or of now when `t` is below 1, as text. `form` 1: 20240131 (`out` takes 9 characters), 2:
    /// 134501 (7), 3: 20240131-134501 (16), any other: empty. Returns the time used.
    static std::time_t fGetDayTime(std::time_t t, char *out, int form);
    /// The same, re-entrant; 0 and an empty text when the conversion fails.
    static std::time_t fGetThreadDayTime(std::time_t t, char *out, int form);
    /// Opens m_pstrLogFile for appending. 1, or 0 after a message on standard error.
    int fOpenLogFile();
    void fCloseLogFile();
    /// 1: the file has room. 0: it was removed and is made anew, or it was full and the next one has been started.
    int fLogSizeChk();
    /// Starts the day's file when the date has changed.
    void fDateChangeChk();
    /// Picks m_pstrLogFile: the day's first file (`first` 1, which also deletes old files) or the next number. For an
    /// owner whose name holds "agent" the first file of the process is the one that the script recentlogfile.sh names.
    void fLogNameChange(int first);
    /// Asks the script for the newest file of `date`. 1: it is m_pstrLogFile now; -1: there is none.
    int fGetRecentLogFile(const char *date);
    /// Deletes log files of the directory whose name begins with a date more than m_nValidDay days before `now`.
    void fOldLogFileCheck(std::time_t now);
    /// Compresses m_pstrLogFile in the background, when a compressor was found.
    void fLogCompress();

    Queue<MessageQWriteLog *> *m_pcQueue; // thread mode only
    int m_nThreadMode;                    // 1: writes go through the queue
    char *m_pstrLogFile;                  // current file, null before the first; owned
    char *m_pstrLogPath;                  // log directory, ends in "/"; owned
    char m_strMCName[16];                 // owner's short name
    char m_strCurrentDate[10];            // date of the open file, or "EMPTY"
    char m_strCompressPath[64];           // compressor found by the constructor
    int m_nCompressChk;                   // 1: one was found
    int m_nValidDay;                      // days that old files are kept
    int m_nLogMode;                       // 1: debug lines are written
    int m_nFileFd;                        // 0 when closed
    int m_nThreadChk;                     // 1: fLogWrite takes l_gstLogMutexLock
    int m_nLogCnt;                        // number of the file within the day
    int m_nLogCompress;                   // 1: compress at the change of date
    unsigned long m_ulLogSize;            // bytes at which a file is full
    int m_nLivInvLogFlag;                 // 0: the owner's name holds "AGENT" or "agent"

private:
    friend void *fLogThreadQ(void *logger);

    std::unique_ptr<zel::LogState> m_state;
};

/// The writer thread of the logger `logger` (a CVornLog in thread mode), for a program that runs it on a thread of its
/// own. Ends when the logger is destroyed. Returns null.
void *fLogThreadQ(void *logger);
