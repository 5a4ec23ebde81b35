// General functions of the runtime: sleep, watchdog thread, tracked allocation, file helpers, IPv4 checks, string hash,
// inventory values, clock readings and buffer files. All state is process-wide.
#pragma once

#include <cstdio>

// --- Settings ------------------------------------------------------------------------------------------------------

/// 1: IPv6 mode, in which the NFS server checks set up no probe.
extern int g_nIPv6Flag;
/// Budget of all buffer files of one tag together, in megabytes.
extern int g_nDataBufferSaveMaxSize;

// --- Sleep ---------------------------------------------------------------------------------------------------------

/// Sleeps `usec` microseconds; a value below 1 sleeps one millisecond. Returns 1. The only sleep of the library. A
/// signal ends it early.
int fgUSleep(int usec);

// --- Alarm ---------------------------------------------------------------------------------------------------------

/// An empty handler, to be installed for SIGALRM so that the signal only interrupts blocking calls.
void fgCNSocket_CathAlam(int);

// --- IPv4 texts ----------------------------------------------------------------------------------------------------

/// 1 when `text`, at most 15 characters, has exactly three dots and four parts that are at most 255 and have no letter
/// among their first three characters; else 0. An empty part counts as 0.
int fgIPCheck(const char *text);

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
