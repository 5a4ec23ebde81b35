// The parsers of the process files: what they read, and that they read it as scanf does.
#include "MM_PROC_Info.h"
#include "TempDirectory.h"
#include "host/ScopedHandle.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

const std::string swapper =
    "12345 (my) prog) S 1 12345 777 34816 12400 4194560 1260 8000 22 35 111 222 3 4 20 -5 7 0 "
    "98765 176148480 2345 18446744073709551615 4194304 4195000 140722914853168 11 12 65536 4096 "
    "1a 7fffffff 13 0 0 17 1 0 0\n";

std::unique_ptr<proc_s> filled(char byte) {
    auto raw = std::make_unique<proc_s>();
    std::memset(static_cast<void *>(raw.get()), byte, sizeof(proc_s));
    return raw;
}

int parseStat(CMM_PROC_Info &collector, std::string text, proc_s &raw) {
    return collector.fMStat2Proc(text.data(), &raw);
}

TEST(StatParser, ReadsEveryField) {
    CMM_PROC_Info collector;
    const auto raw = filled('\x55');

    ASSERT_EQ(parseStat(collector, swapper, *raw), 1);

    EXPECT_EQ(raw->pid, 12345);
    EXPECT_STREQ(raw->cmd, "my) prog");
    EXPECT_EQ(raw->state, 'S');
    EXPECT_EQ(raw->ppid, 1);
    EXPECT_EQ(raw->pgrp, 12345);
    EXPECT_EQ(raw->session, 777);
    EXPECT_EQ(raw->tty, 35840) << "34816 + 1024";
    EXPECT_EQ(raw->tpgid, 12400);
    EXPECT_EQ(raw->flags, 4194560U);
    EXPECT_EQ(raw->min_flt, 1260U);
    EXPECT_EQ(raw->cmin_flt, 8000U);
    EXPECT_EQ(raw->maj_flt, 22U);
    EXPECT_EQ(raw->cmaj_flt, 35U);
    EXPECT_EQ(raw->utime, 111);
    EXPECT_EQ(raw->stime, 222);
    EXPECT_EQ(raw->cutime, 3);
    EXPECT_EQ(raw->cstime, 4);
    EXPECT_EQ(raw->priority, 20);
    EXPECT_EQ(raw->nice, -5);
    EXPECT_EQ(raw->num_threads, 7U);
    EXPECT_EQ(raw->it_real_value, 0U);
    EXPECT_EQ(raw->start_time, 98765);
    EXPECT_EQ(raw->vsize, 176148480U);
    EXPECT_EQ(raw->rss, 2345U);
    EXPECT_EQ(raw->rss_rlim, 18446744073709551615UL);
    EXPECT_EQ(raw->start_code, 4194304U);
    EXPECT_EQ(raw->end_code, 4195000U);
    EXPECT_EQ(raw->start_stack, 140722914853168U);
    EXPECT_EQ(raw->kstk_esp, 11U);
    EXPECT_EQ(raw->kstk_eip, 12U);
    EXPECT_EQ(raw->signal, 0x65536) << "the words are read as hexadecimal, though the kernel writes decimals";
    EXPECT_EQ(raw->blocked, 0x4096);
    EXPECT_EQ(raw->sigignore, 0x1a);
    EXPECT_EQ(raw->sigcatch, 0x7fffffff);
    EXPECT_EQ(raw->wchan, 13U);
}

TEST(StatParser, TerminalNumbers) {
    CMM_PROC_Info collector;
    const auto terminal = [&collector](const std::string &number) {
        proc_s raw{};
        std::string text = swapper;
        text.replace(text.find("34816"), 5, number);
        EXPECT_EQ(parseStat(collector, text, raw), 1);
        return raw.tty;
    };

    EXPECT_EQ(terminal("0"), -1);
    EXPECT_EQ(terminal("-1"), -1);
    EXPECT_EQ(terminal("1"), 1025);
    EXPECT_EQ(terminal("-2"), 1022);
}

TEST(StatParser, NameIsCutAtThirtyNineCharactersAndLeavesNothingOfAnother) {
    CMM_PROC_Info collector;
    const auto raw = filled('x');
    std::string text = swapper;
    text.replace(text.find("my) prog"), 8, std::string(64, 'n'));

    ASSERT_EQ(parseStat(collector, text, *raw), 1);
    EXPECT_EQ(std::string(raw->cmd), std::string(39, 'n'));

    ASSERT_EQ(parseStat(collector, swapper, *raw), 1);
    EXPECT_EQ(std::string(raw->cmd, 40), std::string("my) prog") + std::string(32, '\0'));
}

TEST(StatParser, MalformedTextsFail) {
    CMM_PROC_Info collector;
    proc_s raw{};
    const std::string tail = swapper.substr(swapper.rfind(')'));

    EXPECT_EQ(parseStat(collector, "", raw), 0);
    EXPECT_EQ(parseStat(collector, "42 name S 1", raw), 0) << "no bracket";
    EXPECT_EQ(parseStat(collector, "42 (name)", raw), 0) << "nothing after the bracket";
    EXPECT_EQ(parseStat(collector, "42 (name) ", raw), 0);
    EXPECT_EQ(parseStat(collector, "42 (" + tail, raw), 0) << "an empty name";
    EXPECT_EQ(parseStat(collector, "(name" + tail, raw), 0) << "no pid";
    EXPECT_EQ(parseStat(collector, "x (name" + tail, raw), 0);
    EXPECT_EQ(parseStat(collector, "42 name" + tail, raw), 0) << "no opening bracket";
    EXPECT_EQ(parseStat(collector, ")", raw), 0);
    EXPECT_EQ(parseStat(collector, "42 (name" + tail, raw), 1);
}

TEST(StatParser, AllThirtyThreeFieldsAreRequired) {
    CMM_PROC_Info collector;
    std::string text = swapper.substr(0, swapper.find(" 0 0 17 1"));
    proc_s raw{};
    ASSERT_EQ(parseStat(collector, text, raw), 1) << "newer fields are not needed";

    while (text.back() != ')') {
        text.resize(text.find_last_of(' '));
        EXPECT_EQ(parseStat(collector, text, raw), 0) << text;
    }
}

TEST(StatmParser, NeedsSevenValues) {
    CMM_PROC_Info collector;
    proc_s raw{};

    ASSERT_EQ(collector.fMStatm2Proc("43005 2345 1200 200 3 1500 4\n", &raw), 1);
    EXPECT_EQ(raw.size, 43005);
    EXPECT_EQ(raw.resident, 2345);
    EXPECT_EQ(raw.share, 1200);
    EXPECT_EQ(raw.trs, 200);
    EXPECT_EQ(raw.lrs, 3);
    EXPECT_EQ(raw.drs, 1500);
    EXPECT_EQ(raw.dt, 4);

    EXPECT_EQ(collector.fMStatm2Proc("43005 2345 1200 200 3 1500\n", &raw), 0);
    EXPECT_EQ(collector.fMStatm2Proc("43005 2345 1200 200 3 1500 x\n", &raw), 0);
    EXPECT_EQ(collector.fMStatm2Proc("", &raw), 0);
}

// Reads an io file of the given text over a record whose counters are 7 and 8.
std::pair<unsigned long long, unsigned long long> readIo(const std::string &text) {
    const TempDirectory directory;
    CMM_PROC_Info collector;
    proc_s raw{};
    raw.io_read = 7;
    raw.io_write = 8;
    EXPECT_EQ(collector.fMIo2Proc(directory.write("io", text).c_str(), &raw), 1);
    return {raw.io_read, raw.io_write};
}

TEST(IoParser, TakesReadAndWrittenBytesOnly) {
    const auto [read, written] = readIo("rchar: 4292\nwchar: 1\nsyscr: 13\nsyscw: 2\nread_bytes: 4096\n"
                                        "write_bytes: 18446744073709551615\ncancelled_write_bytes: 5\n");
    EXPECT_EQ(read, 4096U);
    EXPECT_EQ(written, 18446744073709551615ULL);
}

TEST(IoParser, CancelledBytesAreNotWrittenBytes) {
    EXPECT_EQ(readIo("cancelled_write_bytes: 5\ncancelled_read_bytes: 6\n"), std::pair(7ULL, 8ULL));
}

TEST(IoParser, LinesMayStandInAnyOrderAndEndWithoutALineFeed) {
    EXPECT_EQ(readIo("write_bytes: 2\nread_bytes: 1"), std::pair(1ULL, 2ULL));
}

TEST(IoParser, LineWithoutANumberChangesNothing) {
    EXPECT_EQ(readIo("read_bytes:\n55\nwrite_bytes: x\n"), std::pair(7ULL, 8ULL));
    EXPECT_EQ(readIo("read_bytes:55\nwrite_bytes 9\n"), std::pair(7ULL, 8ULL));
    EXPECT_EQ(readIo(""), std::pair(7ULL, 8ULL));
}

TEST(IoParser, LineIsReadUpToFiveHundredAndElevenCharacters) {
    const std::string value = "read_bytes: 12345\n"; // its last digit is character 17
    EXPECT_EQ(readIo(std::string(511 - 17, ' ') + value).first, 12345U);
    EXPECT_EQ(readIo(std::string(511 - 16, ' ') + value).first, 1234U);
    EXPECT_EQ(readIo(std::string(600, ' ') + value + "write_bytes: 3\n"), std::pair(7ULL, 3ULL));
}

// Lines are limited, the file is not.
TEST(IoParser, FileMayBeLongerThanAnyBuffer) {
    std::string text;
    while (text.size() < 50000)
        text += "comment_" + std::to_string(text.size()) + ": 5\n";
    EXPECT_EQ(readIo(text + "read_bytes: 12\nwrite_bytes: 34\n"), std::pair(12ULL, 34ULL));
    EXPECT_EQ(readIo("read_bytes: 12\n" + text + "write_bytes: 34"), std::pair(12ULL, 34ULL));
}

TEST(IoParser, CounterMayStandAnywhereInALongFile) {
    const std::string counters = "read_bytes: 12\nwrite_bytes: 34\n";
    for (std::size_t before = 16300; before <= 16400; ++before) {
        const std::string filler = std::string(before - 1, 'x') + "\n";
        EXPECT_EQ(readIo(filler + counters), std::pair(12ULL, 34ULL)) << before;
        EXPECT_EQ(readIo("a_b: 1\n" + filler + counters + filler), std::pair(12ULL, 34ULL)) << before;
    }
}

TEST(IoParser, FileThatCannotBeOpenedGivesZeros) {
    CMM_PROC_Info collector;
    proc_s raw{};
    raw.io_read = 7;
    raw.io_write = 8;

    EXPECT_EQ(collector.fMIo2Proc("/nowhere/io", &raw), 1);
    EXPECT_EQ(raw.io_read, 0U);
    EXPECT_EQ(raw.io_write, 0U);
}

TEST(CommandLine, ZeroBytesBecomeBlanksExceptTheLast) {
    CMM_PROC_Info collector;
    char text[] = "ls\0-l\0";

    collector.xfrm_cmdline(text, 6);
    EXPECT_STREQ(text, "ls -l");

    char first[] = "\0\0";
    collector.xfrm_cmdline(first, 1);
    EXPECT_EQ(first[0], '\0');
    collector.xfrm_cmdline(first, 0);
    collector.xfrm_cmdline(first, -5);
    EXPECT_EQ(first[0], '\0');
    collector.xfrm_cmdline(first, 2);
    EXPECT_EQ(first[0], ' ');
    EXPECT_EQ(first[1], '\0');
}

TEST(CommandLine, ArgumentsOfTheRecordAreBounded) {
    CMM_PROC_Info collector;
    const auto raw = filled('\x55');
    std::strcpy(raw->cmd, "kworker/0:1");

    EXPECT_EQ(collector.fMCmdline2Proc("ls -l", raw.get()), 1);
    EXPECT_STREQ(raw->args, "ls -l");
    EXPECT_EQ(collector.fMCmdline2Proc("", raw.get()), 1);
    EXPECT_STREQ(raw->args, "[kworker/0:1]");

    for (const std::size_t length : {63U, 64U, 65U, 5000U}) {
        EXPECT_EQ(collector.fMCmdline2Proc(std::string(length, 'a').c_str(), raw.get()), 1);
        EXPECT_EQ(std::string(raw->args), std::string(63, 'a')) << length;
        EXPECT_EQ(raw->state, '\x55') << "the field after args";
    }
}

// The same parsers by scanf, in the formats that the files are specified with.
int scanStat(char *text, proc_s &raw) {
    char *close = std::strrchr(text, ')');
    if (close == nullptr)
        return 0;
    const char *tail = close[1] == '\0' ? close + 1 : close + 2;
    *close = '\0';
    std::memset(raw.cmd, 0, sizeof(raw.cmd));
    if (std::sscanf(text, "%d (%39c", &raw.pid, raw.cmd) != 2)
        return 0;
    const char *format = "%c %d %d %d %d %d %lu %lu %lu %lu %lu %ld %ld %ld %ld %d %d %lu %lu %ld %lu %lu %lu %lu %lu "
                         "%lu %lu %lu %LX %LX %LX %LX %lu";
    const int fields =
        std::sscanf(tail, format, &raw.state, &raw.ppid, &raw.pgrp, &raw.session, &raw.tty, &raw.tpgid, &raw.flags,
                    &raw.min_flt, &raw.cmin_flt, &raw.maj_flt, &raw.cmaj_flt, &raw.utime, &raw.stime, &raw.cutime,
                    &raw.cstime, &raw.priority, &raw.nice, &raw.num_threads, &raw.it_real_value, &raw.start_time,
                    &raw.vsize, &raw.rss, &raw.rss_rlim, &raw.start_code, &raw.end_code, &raw.start_stack,
                    &raw.kstk_esp, &raw.kstk_eip, &raw.signal, &raw.blocked, &raw.sigignore, &raw.sigcatch, &raw.wchan);
    if (fields != 33)
        return 0;
    if (raw.tty == 0)
        raw.tty = -1;
    else if (raw.tty != -1)
        raw.tty = static_cast<int>(static_cast<unsigned>(raw.tty) + 1024U);
    return 1;
}

int scanStatm(const char *text, proc_s &raw) {
    return std::sscanf(text, "%ld %ld %ld %ld %ld %ld %ld", &raw.size, &raw.resident, &raw.share, &raw.trs, &raw.lrs,
                       &raw.drs, &raw.dt) == 7;
}

void scanIo(const char *path, proc_s &raw) {
    std::FILE *file = std::fopen(path, "r");
    ASSERT_NE(file, nullptr);
    char line[512];
    char word[512];
    while (std::fgets(line, sizeof(line), file) != nullptr) {
        if (std::strstr(line, "cancelled_") != nullptr)
            continue;
        if (std::strstr(line, "read_bytes") != nullptr)
            std::sscanf(line, "%s %llu", word, &raw.io_read);
        else if (std::strstr(line, "write_bytes:") != nullptr)
            std::sscanf(line, "%s %llu", word, &raw.io_write);
    }
    std::fclose(file);
}

// One to four random changes: a byte replaced, inserted or removed, a run doubled, the end cut off.
std::string mutated(std::string text, std::mt19937 &random) {
    const std::string alphabet = "0123456789 \t\n-+()xXaF.:_ZS\x7f";
    for (auto changes = 1 + random() % 4; changes > 0 && !text.empty(); --changes) {
        const auto at = random() % text.size();
        switch (random() % 5) {
        case 0:
            text[at] = alphabet[random() % alphabet.size()];
            break;
        case 1:
            text.insert(at, 1, alphabet[random() % alphabet.size()]);
            break;
        case 2:
            text.erase(at, 1 + random() % 3);
            break;
        case 3:
            text.insert(at, text.substr(at, random() % 24));
            break;
        default:
            if (random() % 4 == 0)
                text.resize(at);
        }
    }
    return text;
}

const std::vector<std::string> statLines = {
    swapper,
    "1 (systemd) S 0 1 1 0 -1 4194560 51465 1383422 97 1223 181 283 3404 1405 20 0 1 0 3 172130304 3304 "
    "18446744073709551615 1 1 0 0 0 0 671173123 4096 1260 0 0 0 17 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n",
    "2 (kthreadd) S 0 0 0 0 -1 2129984 0 0 0 0 0 14 0 0 20 0 1 0 3 0 0 18446744073709551615 0 0 0 0 0 0 0 2147483647 0 "
    "0 0 0 0 1 0 0 0 0 0 0 0 0 0 0 0 0 0\n",
    "9001 ((a) (b) c) Z 1 9001 9001 1026 -1 1077952524 0 0 0 0 0 0 0 0 -51 -20 1 0 99999999 0 0 "
    "18446744073709551615 0 0 0 0 0 0 0 0 18446744073709551615 ffffffffffffffff 0 0 0 17 0 0 0 0 0 0 0\n"};

TEST(Scanners, StatAgreesWithScanfOnRandomChanges) {
    CMM_PROC_Info collector;
    std::mt19937 random(7100);
    int accepted = 0;
    for (int round = 0; round < 40000; ++round) {
        std::string text = statLines[static_cast<std::size_t>(round) % statLines.size()];
        if (round >= 4)
            text = mutated(text, random);
        std::string copy = text;
        const auto actual = filled('\x2a');
        const auto expected = filled('\x2a');

        const int result = collector.fMStat2Proc(text.data(), actual.get());
        ASSERT_EQ(result, scanStat(copy.data(), *expected)) << copy;
        ASSERT_EQ(std::memcmp(actual.get(), expected.get(), sizeof(proc_s)), 0) << copy;
        ASSERT_EQ(text, copy) << "both cut the text at the same place";
        accepted += result;
    }
    EXPECT_GT(accepted, 10000);
    EXPECT_LT(accepted, 39000);
}

TEST(Scanners, StatmAgreesWithScanfOnRandomChanges) {
    CMM_PROC_Info collector;
    std::mt19937 random(7101);
    const std::vector<std::string> lines = {"43005 2345 1200 200 0 1500 0\n", "0 0 0 0 0 0 0\n",
                                            "9223372036854775807 18446744073709551615 -1 +5 007 1 2"};
    int accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string text = mutated(lines[static_cast<std::size_t>(round) % lines.size()], random);
        const auto actual = filled('\x2a');
        const auto expected = filled('\x2a');

        const int result = collector.fMStatm2Proc(text.c_str(), actual.get());
        ASSERT_EQ(result, scanStatm(text.c_str(), *expected)) << text;
        ASSERT_EQ(std::memcmp(actual.get(), expected.get(), sizeof(proc_s)), 0) << text;
        accepted += result;
    }
    EXPECT_GT(accepted, 5000);
    EXPECT_LT(accepted, 19500);
}

// A file in memory, because rewriting one on a disk thousands of times waits for the disk.
class MemoryFile {
public:
    MemoryFile() : m_descriptor(memfd_create("io", MFD_CLOEXEC)) {}

    std::string path() const { return "/proc/self/fd/" + std::to_string(m_descriptor.get()); }
    bool hold(const std::string &text) const {
        const auto length = static_cast<ssize_t>(text.size());
        return ftruncate(m_descriptor.get(), 0) == 0 &&
               pwrite(m_descriptor.get(), text.data(), text.size(), 0) == length;
    }

private:
    zel::ScopedDescriptor m_descriptor;
};

TEST(Scanners, IoAgreesWithScanfOnLongFiles) {
    const MemoryFile file;
    CMM_PROC_Info collector;
    std::mt19937 random(7103);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        while (text.size() < 15000 + random() % 40000) {
            text += std::string(random() % 400, "x_\t "[random() % 4]);
            text += random() % 8 == 0 ? "read_bytes: " : random() % 8 == 0 ? "write_bytes: " : "other_bytes: ";
            text += std::to_string(random()) + "\n";
        }
        ASSERT_TRUE(file.hold(text));
        const auto actual = filled('\x2a');
        const auto expected = filled('\x2a');

        collector.fMIo2Proc(file.path().c_str(), actual.get());
        scanIo(file.path().c_str(), *expected);
        ASSERT_EQ(std::memcmp(actual.get(), expected.get(), sizeof(proc_s)), 0) << text;
    }
}

TEST(Scanners, IoAgreesWithScanfOnRandomChanges) {
    const MemoryFile file;
    CMM_PROC_Info collector;
    std::mt19937 random(7102);
    const std::string lines = "rchar: 323934931\nwchar: 323929600\nsyscr: 632687\nsyscw: 632675\nread_bytes: 3514368\n"
                              "write_bytes: 18669568\ncancelled_write_bytes: 1589248\n";
    int changed = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string text = mutated(lines, random);
        ASSERT_TRUE(file.hold(text));
        const auto actual = filled('\x2a');
        const auto expected = filled('\x2a');

        collector.fMIo2Proc(file.path().c_str(), actual.get());
        scanIo(file.path().c_str(), *expected);
        ASSERT_EQ(std::memcmp(actual.get(), expected.get(), sizeof(proc_s)), 0) << text;
        changed += actual->io_read != 3514368U || actual->io_write != 18669568U;
    }
    EXPECT_GT(changed, 1000);
}

} // namespace
