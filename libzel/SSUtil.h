// CSSUtil: the toolkit of every collector. Reads kernel files into buffers, walks lines and tokens, turns tick counters
// into percentages and deltas, converts pages and blocks to kilobytes, measures elapsed time and formats sizes and
// times for display. Failures are results, nothing is logged. Not thread-safe: the size
// formatters of all instances share one result buffer.
#pragma once

#include <ctime>
#include <sys/time.h>

class CSSUtil {
public:
    CSSUtil();

    CSSUtil(const CSSUtil &) = delete;
    CSSUtil &operator=(const CSSUtil &) = delete;

    // Files and text ------------------------------------------------------------------------------------------------

    /// Reads the file `path` (below the host root) into `buffer` of `size` bytes, which is zeroed first and always
    /// terminated. Returns the bytes read, at most size - 1; 0 when the file cannot be opened or is empty. In a file
    /// whose path contains "cmdline" zero bytes become blanks. A file of one record costs one read; the kernel hands
    /// out files of many records a page at a time, so a result of KERNEL_PAGE_RESULT bytes or more is read on.
    static int fFile2Buff(const char *path, char *buffer, int size);

    /// Copies the line at `*cursor` into `line` (zeroed, at most size - 1 characters) and moves the cursor past it.
    /// Returns the characters copied plus 1, or 0 without moving when the line is empty: a blank line ends a walk.
    static int fBuff2Line(char **cursor, char *line, int size);

    /// Copies `source` into `destination`, whose `size` bytes are zeroed. A longer source is cut to size - 1
    /// characters; one of exactly `size` is copied whole and terminated one past the area, so callers pass areas one
    /// larger. Returns the length copied, 0 for an empty source.
    static int fStr2Str(char *destination, const char *source, int size);

    /// The first non-blank character of `text`.
    static char *fSkipWs(const char *text);
    /// The end of the first token of `text`: the blank after it or the terminator.
    static char *fSkipToken(const char *text);

    // Counters ------------------------------------------------------------------------------------------------------

    /// Shares of `count` counters in their common growth, in tenths of a percent rounded half up; `previous` takes the
    /// current values. Returns the growth of all, 1 when there was none.
    static int fGetCpuPct(int count, unsigned long long *shares, const unsigned long long *current,
                          unsigned long long *previous);
    /// The same over signed counters; the deltas are left in `deltas`, a negative one as its low 32 bits.
    static int fGetCpuPct(int count, int *shares, const long *current, long *previous, long *deltas);

    /// differences[i] = current[i] - previous[i]; `previous` takes the current values. Returns their sum. The last
    /// argument of the longer form is not used.
    static int fGetAddition(int count, int *differences, const long *current, long *previous);
    static int fGetAddition(int count, int *differences, const long *current, long *previous, long *unused);

    /// sums[i] += values[i].
    static int fSetEachCpuPct(int count, const float *values, float *sums);
    /// averages[i] = sums[i] / divisor; 0 when `count` is below 1, else 1.
    static int fSetAvgCpuPct(int count, const float *sums, float *averages, int divisor);

    // Units ---------------------------------------------------------------------------------------------------------

    /// Kilobytes of `pages` memory pages.
    long fPage2k(long pages) const;
    /// Kilobytes of `blocks` blocks of `blockSize` bytes.
    long fBlock2k(long blocks, long blockSize) const;

    // Time ----------------------------------------------------------------------------------------------------------

    /// Seconds since the previous call (zel::elapsedSeconds). The first result has no meaning.
    double fGetElapsedTime();
    /// "HH:MM:SS", from one day on "D days HH:MM:SS". Returns m_strHtime.
    char *fFormatTime(unsigned long seconds);
    /// Local time as "YYYY-MM-DD HH:MM:SS"; empty for a time that has no local form. Returns m_strStime.
    char *fGetLocalTime(std::time_t time);

    // Sizes: texts in m_strNumData, valid until the next call of any of them ----------------------------------------

    char *fKbyteToForm(float kilobytes);
    char *fMbyteToForm(float megabytes);
    char *fMbyteTo1000Form(float megabytes);
    /// Whole units: the value is cut to an int first (saturated).
    char *fMbyteTo1000FormInt(double megabytes);

    /// Do nothing.
    void fTestWhatEver();
    void fStopHere(const char *text);

    /// A read that gives this much may have been cut by the kernel at the end of a record.
    static constexpr int KERNEL_PAGE_RESULT = 2048;

    int m_nPGShift;      // log2 of the page size in kilobytes
    char m_strHtime[36]; // result of fFormatTime
    char m_strStime[36]; // result of fGetLocalTime
    timeval m_stOldTime; // time of the previous fGetElapsedTime
    static char m_strNumData[128];
};
