// What the tests of the disk collector share: a host, a clock that does not move by itself, default settings, and
// results in a readable form. The hosts linux-2.2.26, 2.4.21, 2.6.32 and 6.1.0 were written for these tests in the
// shape that those kernels write; from t0 to t1 five seconds have passed.
#pragma once

#include "FrozenClock.h"
#include "HostFixture.h"
#include "MM_IO_Info.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

class DiskTest : public testing::Test {
protected:
    static constexpr int SECONDS = 5;

    explicit DiskTest(const char *kernelRelease = "6.1.0-18-amd64", int form = 0) {
        pretendKernelRelease(kernelRelease);
        g_nDiskStrType = form;
    }

    void SetUp() override {
        systemHooks().system = [this](const char *command) {
            commands.emplace_back(command);
            return 0;
        };
    }

    /// A pass, SECONDS after the one before.
    CSSList *sample(CMM_IO_Info &disks, int push = 0) {
        clock.advance(SECONDS);
        return disks.fMGetIoStat(0.0, 1, push);
    }
    CSSList *sampleHost(CMM_IO_Info &disks, const char *fixture, int push = 0) {
        host.show(fixture);
        return sample(disks, push);
    }
    CSSList *sampleText(CMM_IO_Info &disks, const std::string &diskstats, int push = 0) {
        host.write("proc/diskstats", diskstats);
        return sample(disks, push);
    }

    /// The records of the last list pass as "name reads writes readKB writeKB busy".
    static std::vector<std::string> records(CMM_IO_Info &disks) {
        std::vector<std::string> result;
        while (const _ST_DISKIO *disk = disks.fMGetIoStatNext()) {
            char line[2048];
            std::snprintf(line, sizeof(line), "%s %.2f %.2f %.2f %.2f %.2f", disk->l_strDEVname, disk->l_dRead_N,
                          disk->l_dWrite_N, disk->l_dRead_B, disk->l_dWrite_B, disk->l_dBusy);
            result.emplace_back(line);
        }
        return result;
    }
    static std::vector<std::string> names(CMM_IO_Info &disks) {
        std::vector<std::string> result;
        while (const _ST_DISKIO *disk = disks.fMGetIoStatNext())
            result.emplace_back(disk->l_strDEVname);
        return result;
    }

    /// A text with its separators as single characters: row '|', column '~', metric ']', field '^'.
    static std::string readable(std::string text) {
        for (std::size_t at = text.find("\x03\x1F"); at != std::string::npos; at = text.find("\x03\x1F", at))
            text.erase(at, 2);
        return text;
    }
    static std::string poll(const CMM_IO_Info &disks) { return readable(disks.m_pstrPollDiskInfo); }
    static std::string push(const CMM_IO_Info &disks) { return readable(disks.m_pstrPushDiskInfo); }

    /// A full line of /proc/diskstats.
    static std::string line(const std::string &name, unsigned long long reads, unsigned long long readSectors,
                            unsigned long long writes, unsigned long long writeSectors, unsigned long long busy,
                            int minor = 0) {
        char text[2048];
        std::snprintf(text, sizeof(text), "   8 %7d %s %llu 0 %llu 1 %llu 0 %llu 1 0 %llu 2\n", minor, name.c_str(),
                      reads, readSectors, writes, writeSectors, busy);
        return text;
    }

    HostFixture host;
    ScratchHome home;
    FrozenClock clock;
    std::vector<std::string> commands; // of system()
};

inline constexpr const char *POLL_HEADER = "INDEX~DISKNAME~READCNT~WRITECNT~READKB~WRITEKB~BUSY~";
