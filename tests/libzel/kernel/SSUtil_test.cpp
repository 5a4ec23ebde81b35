// The toolkit of the collectors: files, lines, counters, units, times and sizes.
#include "Faults.h"
#include "FrozenClock.h"
#include "HostFixture.h"
#include "SSUtil.h"
#include "TempDirectory.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Counters = std::vector<unsigned long long>;

// --- Files -----------------------------------------------------------------------------------------------------------

TEST(FileToBuffer, MissingFileGivesZeroAndLeavesTheBuffer) {
    char buffer[8] = "before";
    EXPECT_EQ(CSSUtil::fFile2Buff("/nonexistent/file", buffer, sizeof(buffer)), 0);
    EXPECT_STREQ(buffer, "before");
}

TEST(FileToBuffer, EmptyFileAndDirectoryGiveZero) {
    TempDirectory scratch;
    char buffer[8] = "before";
    EXPECT_EQ(CSSUtil::fFile2Buff(scratch.write("empty", "").c_str(), buffer, sizeof(buffer)), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(CSSUtil::fFile2Buff(scratch.path().c_str(), buffer, sizeof(buffer)), 0);
}

TEST(FileToBuffer, WholeBufferIsZeroAfterTheText) {
    TempDirectory scratch;
    std::vector<char> buffer(64, 'x');
    EXPECT_EQ(CSSUtil::fFile2Buff(scratch.write("file", "abc").c_str(), buffer.data(), 64), 3);
    EXPECT_EQ(std::string(buffer.data(), 64), "abc" + std::string(61, '\0'));
}

TEST(FileToBuffer, LongFileIsCutToSizeMinusOne) {
    TempDirectory scratch;
    const std::string file = scratch.write("file", std::string(70000, 'a'));
    std::vector<char> buffer(65536 + 1, 'x');

    EXPECT_EQ(CSSUtil::fFile2Buff(file.c_str(), buffer.data(), 65536), 65535);

    EXPECT_EQ(std::strlen(buffer.data()), 65535U);
    EXPECT_EQ(buffer[65536], 'x');
}

TEST(FileToBuffer, SizeOfOneGivesTheEmptyTextAndNoSizeNothing) {
    TempDirectory scratch;
    const std::string file = scratch.write("file", "abc");
    char buffer[2] = {'x', 'x'};
    EXPECT_EQ(CSSUtil::fFile2Buff(file.c_str(), buffer, 1), 0);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1], 'x');
    EXPECT_EQ(CSSUtil::fFile2Buff(file.c_str(), buffer + 1, 0), 0);
    EXPECT_EQ(buffer[1], 'x');
}

TEST(FileToBuffer, ZeroBytesBecomeBlanksOnlyInACommandLine) {
    TempDirectory scratch;
    const std::string arguments("sleep\0"
                                "10\0",
                                9);
    char buffer[32];
    EXPECT_EQ(CSSUtil::fFile2Buff(scratch.write("cmdline", arguments).c_str(), buffer, sizeof(buffer)), 9);
    EXPECT_STREQ(buffer, "sleep 10 ");
    EXPECT_EQ(CSSUtil::fFile2Buff(scratch.write("other", arguments).c_str(), buffer, sizeof(buffer)), 9);
    EXPECT_STREQ(buffer, "sleep");
}

TEST(FileToBuffer, ReadsBelowTheHostRoot) {
    HostFixture host;
    host.write("proc/version", "fixture");
    char buffer[32];
    EXPECT_EQ(CSSUtil::fFile2Buff("/proc/version", buffer, sizeof(buffer)), 7);
    EXPECT_STREQ(buffer, "fixture");
}

// A pipe of packets hands out one for each read, as the kernel hands out files of many records: a piece at a time.
class PipeFile {
public:
    PipeFile() { EXPECT_EQ(pipe2(m_ends, O_DIRECT), 0); }
    ~PipeFile() {
        close(m_ends[0]);
        closeWriter();
    }
    void put(const std::string &text) { EXPECT_EQ(write(m_ends[1], text.data(), text.size()), ssize_t(text.size())); }
    void closeWriter() {
        if (m_ends[1] >= 0)
            close(m_ends[1]);
        m_ends[1] = -1;
    }
    std::string path() const { return "/dev/fd/" + std::to_string(m_ends[0]); }

private:
    int m_ends[2] = {-1, -1};
};

TEST(FileToBuffer, FileOfOneRecordCostsOneRead) {
    PipeFile file;
    file.put(std::string(CSSUtil::KERNEL_PAGE_RESULT - 1, 'a'));
    char buffer[8192];
    const Fault none(Call::Read, 0);
    EXPECT_EQ(CSSUtil::fFile2Buff(file.path().c_str(), buffer, sizeof(buffer)), CSSUtil::KERNEL_PAGE_RESULT - 1);
    EXPECT_EQ(Fault::calls(), 1);
}

TEST(FileToBuffer, PageSizedResultIsReadOnToTheEnd) {
    PipeFile file;
    for (const int piece : {CSSUtil::KERNEL_PAGE_RESULT, 10, 3000})
        file.put(std::string(static_cast<std::size_t>(piece), 'a'));
    file.closeWriter();
    char buffer[8192];
    EXPECT_EQ(CSSUtil::fFile2Buff(file.path().c_str(), buffer, sizeof(buffer)),
              CSSUtil::KERNEL_PAGE_RESULT + 10 + 3000);
}

TEST(FileToBuffer, ReadingOnStopsAtTheSize) {
    PipeFile file;
    file.put(std::string(CSSUtil::KERNEL_PAGE_RESULT, 'a'));
    file.put(std::string(CSSUtil::KERNEL_PAGE_RESULT, 'b'));
    char buffer[CSSUtil::KERNEL_PAGE_RESULT + 101];
    const Fault none(Call::Read, 0);
    EXPECT_EQ(CSSUtil::fFile2Buff(file.path().c_str(), buffer, sizeof(buffer)), CSSUtil::KERNEL_PAGE_RESULT + 100);
    EXPECT_EQ(Fault::calls(), 2);
}

// A signal is how the watchdog frees a thread from a file that never answers.
TEST(FileToBuffer, InterruptedReadIsNotRepeated) {
    PipeFile file;
    file.put("text");
    char buffer[16];
    const Fault interrupted(Call::Read, 1, EINTR);
    EXPECT_EQ(CSSUtil::fFile2Buff(file.path().c_str(), buffer, sizeof(buffer)), 0);
    EXPECT_EQ(Fault::calls(), 1);
}

TEST(FileToBuffer, FileThatHasNothingYetIsNotWaitedFor) {
    PipeFile file;
    char buffer[16];
    EXPECT_EQ(CSSUtil::fFile2Buff(file.path().c_str(), buffer, sizeof(buffer)), 0);
}

TEST(FileToBuffer, KernelFileLongerThanAPageIsRead) {
    std::vector<char> buffer(1 << 20);
    // /proc/self/smaps comes a page at a time and is always longer than one.
    EXPECT_GT(CSSUtil::fFile2Buff("/proc/self/smaps", buffer.data(), 1 << 20), 4096);
}

// --- Lines and tokens ------------------------------------------------------------------------------------------------

TEST(BufferToLine, WalksLinesAndReportsLengthPlusOne) {
    char text[] = "one\nfour\nlast";
    char *cursor = text;
    char line[16];
    std::memset(line, 'x', sizeof(line));
    EXPECT_EQ(CSSUtil::fBuff2Line(&cursor, line, sizeof(line)), 4);
    EXPECT_EQ(std::string(line, sizeof(line)), "one" + std::string(13, '\0'));
    EXPECT_EQ(CSSUtil::fBuff2Line(&cursor, line, sizeof(line)), 5);
    EXPECT_STREQ(line, "four");
    EXPECT_EQ(CSSUtil::fBuff2Line(&cursor, line, sizeof(line)), 5);
    EXPECT_STREQ(line, "last");
    EXPECT_EQ(*cursor, '\0');
    EXPECT_EQ(CSSUtil::fBuff2Line(&cursor, line, sizeof(line)), 0);
}

TEST(BufferToLine, BlankLineEndsTheWalkWithoutMoving) {
    char text[] = "\nnext";
    char *cursor = text;
    char line[16] = "old";
    EXPECT_EQ(CSSUtil::fBuff2Line(&cursor, line, sizeof(line)), 0);
    EXPECT_EQ(cursor, text);
    EXPECT_STREQ(line, "");
}

TEST(BufferToLine, LongLineIsCutAndItsRestFollows) {
    char text[] = "abcdefgh\n";
    char *cursor = text;
    char line[5];
    EXPECT_EQ(CSSUtil::fBuff2Line(&cursor, line, sizeof(line)), 5);
    EXPECT_STREQ(line, "abcd");
    EXPECT_STREQ(cursor, "efgh\n");
    EXPECT_EQ(CSSUtil::fBuff2Line(&cursor, line, sizeof(line)), 5);
    EXPECT_STREQ(line, "efgh");
    EXPECT_EQ(*cursor, '\0') << "a line of exactly size - 1 characters moves past its newline";
}

TEST(StringToString, CopiesCutsAndTerminates) {
    char area[9];
    std::memset(area, 'x', sizeof(area));
    EXPECT_EQ(CSSUtil::fStr2Str(area, "abc", 8), 3);
    EXPECT_EQ(std::string(area, 9), std::string("abc\0\0\0\0\0x", 9));
    EXPECT_EQ(CSSUtil::fStr2Str(area, "abcdefghi", 8), 7);
    EXPECT_STREQ(area, "abcdefg");
    EXPECT_EQ(area[8], 'x');
    EXPECT_EQ(CSSUtil::fStr2Str(area, "", 8), 0);
    EXPECT_STREQ(area, "");
}

TEST(StringToString, SourceOfExactlyTheSizeIsTerminatedOnePastIt) {
    char area[9];
    std::memset(area, 'x', sizeof(area));
    EXPECT_EQ(CSSUtil::fStr2Str(area, "abcdefgh", 8), 8);
    EXPECT_EQ(std::string(area, 9), std::string("abcdefgh\0", 9));
}

TEST(Skipping, BlanksAndTokens) {
    const char text[] = " \t\n two words";
    EXPECT_STREQ(CSSUtil::fSkipWs(text), "two words");
    EXPECT_STREQ(CSSUtil::fSkipToken(text), " words");
    EXPECT_STREQ(CSSUtil::fSkipToken(" words"), "");
    EXPECT_STREQ(CSSUtil::fSkipToken("\v\f\rkey\tvalue"), "\tvalue");
    EXPECT_STREQ(CSSUtil::fSkipToken("key\nvalue"), "\nvalue");
    EXPECT_STREQ(CSSUtil::fSkipToken(""), "");
    EXPECT_STREQ(CSSUtil::fSkipToken("   "), "");
    EXPECT_STREQ(CSSUtil::fSkipWs("\xE4x"), "\xE4x");
}

// --- Counters --------------------------------------------------------------------------------------------------------

TEST(CpuShares, NoGrowthGivesZerosAndATotalOfOne) {
    Counters current{5, 6, 7}, previous{5, 6, 7}, shares(3, 99);
    EXPECT_EQ(CSSUtil::fGetCpuPct(3, shares.data(), current.data(), previous.data()), 1);
    EXPECT_EQ(shares, (Counters{0, 0, 0}));
}

TEST(CpuShares, AreTenthsRoundedHalfUp) {
    Counters current{1, 1, 1}, previous{0, 0, 0}, shares(3);
    // (1 * 1000 + 3 / 2) / 3 = 1001 / 3 = 333
    EXPECT_EQ(CSSUtil::fGetCpuPct(3, shares.data(), current.data(), previous.data()), 3);
    EXPECT_EQ(shares, (Counters{333, 333, 333}));
    EXPECT_EQ(previous, current);

    // 1 of 16: 62.5 tenths, rounded up to 63; 15 of 16: 937.5, rounded up to 938.
    Counters two{1, 15}, none{0, 0}, result(2);
    EXPECT_EQ(CSSUtil::fGetCpuPct(2, result.data(), two.data(), none.data()), 16);
    EXPECT_EQ(result, (Counters{63, 938}));
}

TEST(CpuShares, UnsignedCountersWrap) {
    // 2^64 - 10 to 20: a growth of 30; 0 to 10: a growth of 10. Shares 750 and 250 of 40.
    Counters current{20, 10}, previous{ULLONG_MAX - 9, 0}, shares(2);
    EXPECT_EQ(CSSUtil::fGetCpuPct(2, shares.data(), current.data(), previous.data()), 40);
    EXPECT_EQ(shares, (Counters{750, 250}));
}

// The rule itself, (delta * 1000 + total / 2) / total in 64 bits, on growths of every size up to the full 64 bits.
TEST(CpuShares, KeepTheRuleForGrowthsOfEverySize) {
    std::mt19937_64 random(11);
    for (int round = 0; round < 20000; ++round) {
        Counters current(5), previous(5), shares(5);
        unsigned long long total = 0;
        for (auto &counter : current) {
            counter = random() >> (random() % 64);
            total += counter;
        }
        if (total == 0)
            total = 1;
        CSSUtil::fGetCpuPct(5, shares.data(), current.data(), previous.data());
        for (std::size_t i = 0; i < shares.size(); ++i)
            ASSERT_EQ(shares[i], (current[i] * 1000 + total / 2) / total) << current[i] << " of " << total;
    }
    // Around 2^22 and 2^27, and one growth that wrapped among small ones.
    for (const Counters &growth : {Counters{4194303, 1}, Counters{4194304, 1}, Counters{134217727, 0},
                                   Counters{ULLONG_MAX, 3000}, Counters(40, 4194303)}) {
        Counters current = growth, previous(growth.size()), shares(growth.size());
        const unsigned long long total = std::accumulate(growth.begin(), growth.end(), 0ULL);
        CSSUtil::fGetCpuPct(static_cast<int>(growth.size()), shares.data(), current.data(), previous.data());
        for (std::size_t i = 0; i < shares.size(); ++i)
            EXPECT_EQ(shares[i], (growth[i] * 1000 + total / 2) / total) << growth[i] << " of " << total;
    }
}

TEST(SignedCpuShares, EqualGrowthAndNoGrowth) {
    long current[3] = {1, 1, 1}, previous[3] = {0, 0, 0}, deltas[3] = {};
    int shares[3] = {};
    EXPECT_EQ(CSSUtil::fGetCpuPct(3, shares, current, previous, deltas), 3);
    EXPECT_EQ(shares[0], 333);
    EXPECT_EQ(deltas[2], 1);
    EXPECT_EQ(previous[1], 1);
    EXPECT_EQ(CSSUtil::fGetCpuPct(3, shares, current, previous, deltas), 1);
    EXPECT_EQ(shares[0], 0);
}

TEST(SignedCpuShares, NegativeDeltaIsReducedToItsLowThirtyTwoBits) {
    // -2^32 + 100 has the low 32 bits 100; 300 stays: total 400, shares 250 and 750.
    long current[2] = {100, 300}, previous[2] = {1L << 32, 0}, deltas[2] = {};
    int shares[2] = {};
    EXPECT_EQ(CSSUtil::fGetCpuPct(2, shares, current, previous, deltas), 400);
    EXPECT_EQ(deltas[0], 100);
    EXPECT_EQ(previous[0], 100);
    EXPECT_EQ(previous[1], 300);
    EXPECT_EQ(shares[0], 250);
    EXPECT_EQ(shares[1], 750);
}

TEST(SignedCpuShares, PositiveDeltaKeepsAllItsBits) {
    long current[1] = {(1L << 40) + 1}, previous[1] = {0}, deltas[1] = {};
    int shares[1] = {};
    CSSUtil::fGetCpuPct(1, shares, current, previous, deltas);
    EXPECT_EQ(deltas[0], (1L << 40) + 1);
    EXPECT_EQ(shares[0], 1000);
}

TEST(SignedCpuShares, DivisionIsSigned) {
    // Deltas -10 and 30: total 20; (-10000 + 10) / 20 = -499 (towards zero), (30000 + 10) / 20 = 1500.
    long current[2] = {0, 30}, previous[2] = {10, 0}, deltas[2] = {};
    int shares[2] = {};
    EXPECT_EQ(CSSUtil::fGetCpuPct(2, shares, current, previous, deltas), 20);
    EXPECT_EQ(shares[0], -499);
    EXPECT_EQ(shares[1], 1500);
}

TEST(SignedCpuShares, ExtremeCountersDoNotTrap) {
    long current[2] = {LONG_MIN, LONG_MAX}, previous[2] = {LONG_MAX, LONG_MIN}, deltas[2] = {};
    int shares[2] = {};
    CSSUtil::fGetCpuPct(2, shares, current, previous, deltas);
    // LONG_MIN - LONG_MAX wraps to 1, LONG_MAX - LONG_MIN to -1: no growth in all, taken as 1.
    EXPECT_EQ(deltas[0], 1);
    EXPECT_EQ(deltas[1], -1);
    EXPECT_EQ(shares[0], 1000);
    EXPECT_EQ(shares[1], -1000);
}

TEST(Addition, GivesDifferencesAndTheirSum) {
    long current[3] = {10, 5, 7}, previous[3] = {4, 8, 7};
    int differences[3] = {};
    EXPECT_EQ(CSSUtil::fGetAddition(3, differences, current, previous), 6 - 3 + 0);
    EXPECT_EQ(differences[0], 6);
    EXPECT_EQ(differences[1], -3);
    EXPECT_EQ(differences[2], 0);
    EXPECT_EQ(previous[0], 10);
    EXPECT_EQ(CSSUtil::fGetAddition(3, differences, current, previous, nullptr), 0);
    EXPECT_EQ(CSSUtil::fGetAddition(0, differences, current, previous), 0);
    EXPECT_EQ(CSSUtil::fGetAddition(-1, differences, current, previous), 0);
}

TEST(Averages, SumAndDivide) {
    const float values[2] = {1.5F, 2.0F};
    float sums[2] = {1.0F, 0.0F}, averages[2] = {};
    CSSUtil::fSetEachCpuPct(2, values, sums);
    EXPECT_FLOAT_EQ(sums[0], 2.5F);
    EXPECT_FLOAT_EQ(sums[1], 2.0F);
    EXPECT_NE(CSSUtil::fSetAvgCpuPct(2, sums, averages, 4), 0);
    EXPECT_FLOAT_EQ(averages[0], 0.625F);
    EXPECT_FLOAT_EQ(averages[1], 0.5F);
    EXPECT_EQ(CSSUtil::fSetAvgCpuPct(0, sums, averages, 4), 0);
}

// --- Units -----------------------------------------------------------------------------------------------------------

TEST(Units, PagesOfThisMachine) {
    CSSUtil util;
    EXPECT_EQ(1 << (util.m_nPGShift + 10), getpagesize());
    EXPECT_EQ(util.fPage2k(3), 3L * getpagesize() / 1024);
}

TEST(Units, PageShiftBelowOneShiftsRight) {
    CSSUtil util;
    util.m_nPGShift = 2;
    EXPECT_EQ(util.fPage2k(3), 12);
    util.m_nPGShift = 0;
    EXPECT_EQ(util.fPage2k(3), 3);
    util.m_nPGShift = -1;
    EXPECT_EQ(util.fPage2k(6), 3);
}

TEST(Units, BlocksByTheirSize) {
    CSSUtil util;
    EXPECT_EQ(util.fBlock2k(10, 4096), 40);
    EXPECT_EQ(util.fBlock2k(10, 2048), 20);
    EXPECT_EQ(util.fBlock2k(10, 1024), 10);
    EXPECT_EQ(util.fBlock2k(10, 512), 5);
}

// --- Time ------------------------------------------------------------------------------------------------------------

TEST(Elapsed, SecondsAndMicrosecondsSinceThePreviousCall) {
    FrozenClock clock(1000, 900000);
    CSSUtil util;
    util.fGetElapsedTime();
    clock.set(1002, 400000);
    // 2 seconds and -500000 microseconds
    EXPECT_DOUBLE_EQ(util.fGetElapsedTime(), 2 - 500000 * 0.000001);
    EXPECT_DOUBLE_EQ(util.fGetElapsedTime(), 0.0);
    clock.set(1000, 0);
    EXPECT_LT(util.fGetElapsedTime(), 0.0);
}

TEST(FormatTime, BelowAMinuteAnHourADayAndBeyond) {
    CSSUtil util;
    EXPECT_STREQ(util.fFormatTime(0), "00:00:00");
    EXPECT_STREQ(util.fFormatTime(59), "00:00:59");
    EXPECT_STREQ(util.fFormatTime(60), "00:01:00");
    EXPECT_STREQ(util.fFormatTime(3599), "00:59:59");
    EXPECT_STREQ(util.fFormatTime(3600), "01:00:00");
    EXPECT_STREQ(util.fFormatTime(86399), "23:59:59");
    EXPECT_STREQ(util.fFormatTime(86400), "1 days 00:00:00");
    EXPECT_STREQ(util.fFormatTime(90061), "1 days 01:01:01");
    EXPECT_EQ(util.fFormatTime(1), util.m_strHtime);
    // The largest value still fits its 36 characters.
    EXPECT_STREQ(util.fFormatTime(ULONG_MAX), "213503982334601 days 07:00:15");
}

TEST(LocalTime, DateAndTimeInLocalForm) {
    CSSUtil util;
    EXPECT_STREQ(util.fGetLocalTime(0), "1970-01-01 00:00:00");
    // 2001-09-09 01:46:40 UTC is second 1,000,000,000
    EXPECT_STREQ(util.fGetLocalTime(1000000000), "2001-09-09 01:46:40");
    EXPECT_EQ(util.fGetLocalTime(0), util.m_strStime);
}

TEST(LocalTime, YearBelowAThousandIsPaddedOnTheRight) {
    CSSUtil util;
    EXPECT_STREQ(util.fGetLocalTime(-62135596800L), "1   -01-01 00:00:00"); // the first second of the year 1
}

TEST(LocalTime, TimeWithoutLocalFormIsEmpty) {
    CSSUtil util;
    EXPECT_STREQ(util.fGetLocalTime(LONG_MAX), "");
    EXPECT_STREQ(util.fGetLocalTime(67768036191676799L), ""); // the last year that the system breaks down
}

// --- Sizes -----------------------------------------------------------------------------------------------------------

TEST(LocalTime, YearsOfEveryWidthAreWrittenAsPrintfWritesThem) {
    CSSUtil util;
    // The first second of the years 999, 1000, 1969, 9999 and 10000, by the proleptic calendar: 1000-01-01 is 354285
    // days before 1970, 10000-01-01 is 2932897 days after it, and none of the years 999, 1969 and 9999 is a leap year.
    constexpr long day = 86400;
    EXPECT_STREQ(util.fGetLocalTime((-354285 - 365) * day), "999 -01-01 00:00:00");
    EXPECT_STREQ(util.fGetLocalTime(-354285 * day), "1000-01-01 00:00:00");
    EXPECT_STREQ(util.fGetLocalTime(-365 * day), "1969-01-01 00:00:00");
    EXPECT_STREQ(util.fGetLocalTime((2932897 - 365) * day), "9999-01-01 00:00:00");
    EXPECT_STREQ(util.fGetLocalTime(2932897 * day - 1), "9999-12-31 23:59:59");
    EXPECT_STREQ(util.fGetLocalTime(2932897 * day), "10000-01-01 00:00:00");
}

TEST(FormatTime, RandomTimesAreWrittenAsPrintfWritesThem) {
    CSSUtil util;
    std::mt19937_64 random(20240609);
    for (int round = 0; round < 20000; ++round) {
        const unsigned long seconds = random() >> random() % 64;
        char expected[64];
        if (seconds < 86400)
            std::snprintf(expected, sizeof(expected), "%02lu:%02lu:%02lu", seconds / 3600, seconds / 60 % 60,
                          seconds % 60);
        else
            std::snprintf(expected, sizeof(expected), "%lu days %02lu:%02lu:%02lu", seconds / 86400,
                          seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
        ASSERT_STREQ(util.fFormatTime(seconds), expected);
    }
}

TEST(KbyteForm, UnitsAndThresholds) {
    CSSUtil util;
    EXPECT_STREQ(util.fKbyteToForm(0), "0");
    EXPECT_STREQ(util.fKbyteToForm(1), "1.0 K");
    EXPECT_STREQ(util.fKbyteToForm(1023), "1023.0 K");
    EXPECT_STREQ(util.fKbyteToForm(1024), "1.0 M");
    EXPECT_STREQ(util.fKbyteToForm(1536), "1.5 M");
    EXPECT_STREQ(util.fKbyteToForm(1024.0F * 1024), "1.0 G");
    EXPECT_STREQ(util.fKbyteToForm(1024.0F * 1024 * 1024), "1.0 T");
    EXPECT_STREQ(util.fKbyteToForm(1024.0F * 1024 * 1024 * 2048), "2048.0 T");
}

TEST(MbyteForm, UnitsAndThresholds) {
    CSSUtil util;
    EXPECT_STREQ(util.fMbyteToForm(0), "0 M");
    EXPECT_STREQ(util.fMbyteToForm(1023), "1023.0 M");
    EXPECT_STREQ(util.fMbyteToForm(1024), "1.0 G");
    EXPECT_STREQ(util.fMbyteToForm(1536), "1.5 G");
    EXPECT_STREQ(util.fMbyteToForm(1024.0F * 1024), "1.0 T");
}

TEST(MbyteTo1000Form, UnitsAndThresholds) {
    CSSUtil util;
    EXPECT_STREQ(util.fMbyteTo1000Form(0), "0 M");
    EXPECT_STREQ(util.fMbyteTo1000Form(999), "999.0 M");
    EXPECT_STREQ(util.fMbyteTo1000Form(1000), "1.0 G");
    EXPECT_STREQ(util.fMbyteTo1000Form(999000), "999.0 G");
    EXPECT_STREQ(util.fMbyteTo1000Form(1000000), "1.0 T");
    EXPECT_STREQ(util.fMbyteTo1000Form(2500000000.0F), "2500.0 T");
}

TEST(MbyteTo1000FormInt, WholeUnits) {
    CSSUtil util;
    EXPECT_STREQ(util.fMbyteTo1000FormInt(0), "0 M");
    EXPECT_STREQ(util.fMbyteTo1000FormInt(999), "999 M");
    EXPECT_STREQ(util.fMbyteTo1000FormInt(1000), "1 G");
    EXPECT_STREQ(util.fMbyteTo1000FormInt(2500), "2 G");
    EXPECT_STREQ(util.fMbyteTo1000FormInt(999999), "999 G");
    EXPECT_STREQ(util.fMbyteTo1000FormInt(1000000), "1 T");
    EXPECT_STREQ(util.fMbyteTo1000FormInt(1e30), "2147 T"); // saturated at the largest int
}

TEST(SizeForms, ShareOneBufferAmongAllInstances) {
    CSSUtil first, second;
    const char *text = first.fKbyteToForm(1);
    EXPECT_EQ(text, CSSUtil::m_strNumData);
    second.fMbyteToForm(2);
    EXPECT_STREQ(text, "2.0 M");
}

TEST(SizeForms, ComputeInSinglePrecision) {
    CSSUtil util;
    // 1450 / 1000 is 1.45000005 in single precision, 1.44999999999999996 in double.
    EXPECT_STREQ(util.fMbyteTo1000Form(1450), "1.5 G");
}

} // namespace
