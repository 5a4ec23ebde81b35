// General functions of the runtime: sleep, alarm watchdog, tracked allocation, file helpers, IPv4 checks, string hash,
// inventory values, clock readings and buffer files. All state is process-wide. Only the watchdog is made for a second
// thread; everything else is used by one thread at a time, or has no state.
#pragma once

#include <cstdio>

// --- Settings ------------------------------------------------------------------------------------------------------

/// 1: IPv6 mode, in which the NFS server checks set up no probe.
extern int g_nIPv6Flag;
/// Budget of all buffer files of one tag together, in megabytes.
extern int g_nDataBufferSaveMaxSize;

// --- Sleep and clocks ----------------------------------------------------------------------------------------------

/// Sleeps `usec` microseconds; a value below 1 sleeps one millisecond. Returns 1. The only sleep of the library. A
/// signal ends it early.
int fgUSleep(int usec);

/// The time of day in seconds since the epoch, with microseconds.
double fGetCurVelmorTime();
/// The same in whole seconds.
int fGetPushCurVelmorTime();

// --- Alarm watchdog ------------------------------------------------------------------------------------------------
//
// A thread that sends SIGALRM to a process whose watched operation takes too long. The watched code arms g_nAlarmSec
// before an operation and sets it to 0 after it, or refreshes g_nBlockChkSec with the time as its heartbeat. The words
// are plain integers for embedding programs; the watchdog itself reads and writes them as atomics.

/// Process to signal; the own one when below 1 at the start of the thread.
extern int g_nSignalPid;
/// Seconds until the alarm fires; 0: disarmed, also after it fired. The thread counts the seconds and starts again from
/// 0 only when a pass finds it disarmed: an alarm that is armed again before that continues the old count.
extern int g_nAlarmSec;
/// 1 while the thread shall run. Set by the thread itself; another value ends it within a second.
extern int g_nAlarmThStatus;
/// 1: check the heartbeat, every eleventh second.
extern int g_nBlockChkFlag;
/// A heartbeat that is older than so many seconds is signalled; below 1: never.
extern int g_nBlockTimeOut;
/// Time of the last heartbeat in seconds since the epoch, written by the watched code and by the thread.
extern int g_nBlockChkSec;

/// The last step of a value conversion (NValueVtoA).
extern char g_strDebugDetail[256];

/// The watchdog, to be started as a thread. `arg` points to an int, the block time-out in seconds, and is read once at
/// the start. Every signal is blocked in the thread, so that SIGALRM reaches the watched one. Returns null.
void *fgAlarmTh(void *arg);

/// An empty handler, to be installed for SIGALRM so that the signal only interrupts blocking calls.
void fgCNSocket_CathAlam(int);

// --- Tracked allocation --------------------------------------------------------------------------------------------
//
// malloc and calloc with a record of who asked, by a debug number of the caller's choice.

/// The allocation table: one slot per live block.
struct _ST_MEM_USE_ST {
    void **m_ppvdMEM;  // address; null: free slot
    int *m_pnDebugNum; // debug number of the caller
    int m_nMemSize;    // number of slots; 0: not initialised
    int *m_pnMEMSize;  // requested bytes
};
extern _ST_MEM_USE_ST g_stMemUse;

/// Makes the table with 512 slots; a table that exists is kept. Returns 1, or 0 without memory.
int fgInitAlloc();
/// Allocate `size` bytes, or `count` * `size` zeroed ones, and record them; the table grows as needed. Return null,
/// with nothing recorded, for a negative size and without memory. A block that was freed past the table and is handed
/// out again takes over its slot, with a message on standard error when g_nPrint is 1.
void *fgNmalloc(int size, int debugNo);
void *fgNcalloc(int count, int size, int debugNo);
/// Frees `block` and forgets it: 1. A block that no slot holds is freed all the same: 0, with a message on standard
/// error when g_nPrint is 1.
int fgNfree(void *block, int debugNo);
/// Reports the live blocks by debug number and their sum: to the log when its debug gate is open, to standard error
/// when g_nPrint is 1. Returns 1.
int fgNPrintAlloc();

// --- Files ---------------------------------------------------------------------------------------------------------

/// Plain pass-throughs: 1; fopen; fclose (EOF for null); nothing.
int fgInitFP();
std::FILE *fgND_FOPEN(const char *path, const char *mode);
int fgND_FCLOSE(std::FILE *file);
void fgNPrintFP();

/// Copies the first name of the working directory that matches the shell wildcard `pattern` into `out` (256 bytes) and
/// returns 1. Names that begin with a dot are passed over. 0: none matches or the directory cannot be read.
int fgFindFileName(const char *pattern, char *out);

/// Makes the directory `path`, which ends in "/", and its missing parents, with mode 0770. Returns 1 when it is there
/// (or must not be looked at: EPERM). -1 when it cannot be opened, or cannot be made, with a message on standard error.
int fgMakeDirectory(const char *path);

/// Moves the file `from` by copying it to `to` (created or overwritten) and removing it once the copy is closed without
/// error. Returns 1 when `from` is gone, else 0: a failed copy keeps the source. Only regular files are moved.
int fgFileMove(const char *from, const char *to);

/// Replaces the file by an empty one of mode 0444. Returns 1, also on failure.
int fgTouchFile(const char *path);

/// Writes `value`, without a line end, to "../aproc/inv/<name>.inv", created or overwritten. Returns 1 in every case;
/// success and failure are logged whenever a logger is installed.
int fStrOidWrite(const char *name, const char *value);

// --- IPv4 texts ----------------------------------------------------------------------------------------------------

/// 1 when `text`, at most 15 characters, has exactly three dots and four parts that are at most 255 and have no letter
/// among their first three characters; else 0. An empty part counts as 0.
int fgIPCheck(const char *text);

/// The stricter check: 1 when `text` consists of digits and exactly three dots, no part has more than four digits or is
/// above 255, and the last part is not empty; else 0.
int fgIPVaildCheck(const char *text);

// --- NFS -----------------------------------------------------------------------------------------------------------

/// Whether the NFS port of a mount source's server takes a connection; see CheckNfs.h.
int fgNfsCheck(const char *source);

// --- Hash ----------------------------------------------------------------------------------------------------------

/// h = h * 131 + c over the signed characters of `text`, in 32 bits, without the top bit: never negative. An empty text
/// gives 0. Two names with the same hash share one entry in the maps that are keyed by it.
int ELFHash(const char *text);

// --- Buffer files --------------------------------------------------------------------------------------------------

/// Append one record of `text1` and `text2` to the day's file in "../buffer", tagged "BUF", and keep all files of the
/// tag within g_nDataBufferSaveMaxSize. `name` is not used. Returns 1, -1 when the file cannot be opened, 0 when the
/// directory cannot be read.
int fgBufFileWrite(const char *name, const char *text1, const char *text2);
/// The same with the tag "BUNF".
int fgNBufFileWrite(const char *name, const char *text1, const char *text2);
