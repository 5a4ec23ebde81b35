// A program that embeds the library may set the locale of its users, where numbers are written with a comma. Texts of
// kernels and scripts keep their points: every text is read, and every performance text written, as in the C locale.
#include "AllCollectors.h"
#include "CommaLocale.h"
#include "EveryText.h"
#include "FaultHost.h"
#include "SSUtil.h"
#include "StreamCapture.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

/// What `take` gives in the C locale, then under the comma. The locale is in force for the whole of the second run.
void expectSameUnderTheComma(const std::string &what, const std::function<Lines()> &take) {
    const Lines expected = take();
    withdrawSystemHooks();
    const CommaLocale locale;
    if (locale.whyNot() != nullptr)
        GTEST_SKIP() << locale.whyNot();
    char text[16];
    std::snprintf(text, sizeof(text), "%.1f", 2.5);
    ASSERT_STREQ(text, "2,5"); // the comparison means something
    EXPECT_EQ(take(), expected) << what;
    withdrawSystemHooks();
}

class WrittenUnderAComma : public testing::TestWithParam<every_text::Writer> {};

TEST_P(WrittenUnderAComma, EveryTextIsTheSame) {
    expectSameUnderTheComma(GetParam().name, [] {
        Lines lines;
        for (const WrittenText &text : GetParam().take())
            lines.push_back(text.name + ": " + text.first.value_or("(null)") + "\n" + text.text);
        EXPECT_FALSE(lines.empty());
        return lines;
    });
}

INSTANTIATE_TEST_SUITE_P(Collectors, WrittenUnderAComma, testing::ValuesIn(every_text::writers),
                         [](const auto &writer) { return std::string(writer.param.name); });

// Every sampling call of the driver and of an agent, over a host that has every file.
TEST(ReadUnderAComma, WholeCyclesGiveTheSame) {
    expectSameUnderTheComma("a cycle", [] {
        FaultHost host;
        AllCollectors collectors;
        Lines lines;
        const StreamCapture reports;
        for (int moment = 0; moment < 2; ++moment) {
            host.show(moment);
            for (const StepResult &result : collectors.cycle(5.0)) {
                lines.push_back(result.step + (result.succeeded ? "" : " (failed)") + result.malformed);
                lines.insert(lines.end(), result.lines.begin(), result.lines.end());
            }
        }
        return lines;
    });
}

// The kernels of the other readers, in list form.
TEST(ReadUnderAComma, CountersOfEveryKernelGenerationGiveTheSame) {
    for (const char *release : {"2.2.26", "2.4.21", "2.6.32"}) {
        const std::string fixture = std::string("linux-") + release;
        expectSameUnderTheComma(fixture, [&] {
            pretendKernelRelease(release);
            systemHooks().system = [](const char *) { return 0; };
            FrozenClock clock;
            ScratchHome home;
            home.write("agent/aproc/shell/partitions.dat", "   3     0    8257032 hda\n");
            HostFixture host((fixture + "/t0").c_str());
            CMM_IO_Info disks;
            CMM_VM_Info vm;
            CMM_MEM_Info memory;
            Lines lines;
            for (const char *moment : {"/t0", "/t1"}) {
                host.show((fixture + moment).c_str());
                clock.advance(5);
                disks.fMGetIoStat(0.0, 1, 0);
                while (const _ST_DISKIO *disk = disks.fMGetIoStatNext())
                    lines.push_back(disk->l_strDEVname + std::to_string(static_cast<long>(disk->l_dRead_B * 100)));
                const double *rates = vm.fMGetVmStat(5.0);
                for (int i = 0; rates != nullptr && i < VM_SLOTS; ++i)
                    lines.push_back(std::to_string(static_cast<long>(rates[i] * 100)));
                const unsigned long long *sizes = memory.fMGetMem();
                for (int i = 0; sizes != nullptr && i < MEM_ELEMENTS; ++i)
                    lines.push_back(std::to_string(sizes[i]));
            }
            return lines;
        });
    }
}

// The texts with fractions that no fixture host has.
TEST(ReadUnderAComma, RateFileGivesTheSame) {
    expectSameUnderTheComma("rate file", [] {
        const ScratchHome home;
        home.write("agent/aproc/shell/disk_sar_d.txt", "sda 45.30\n");
        CMM_IO_Info disks;
        float rate = 0.0F;
        EXPECT_EQ(disks.fGetDiskIoRate("sda", &rate), 1);
        EXPECT_FLOAT_EQ(rate, 45.3F);
        return Lines{std::to_string(static_cast<int>(rate * 100.0F))};
    });
}

TEST(WrittenSizesUnderAComma, AreTheSame) {
    expectSameUnderTheComma("sizes", [] {
        CSSUtil util;
        Lines lines;
        for (const float size : {0.5F, 1536.0F, 1572864.0F, 1610612736.0F}) {
            lines.emplace_back(util.fKbyteToForm(size));
            lines.emplace_back(util.fMbyteToForm(size));
            lines.emplace_back(util.fMbyteTo1000Form(size));
        }
        EXPECT_EQ(lines[0], "0.5 K");
        EXPECT_EQ(lines[3], "1.5 M");
        return lines;
    });
}

TEST(ReadUnderAComma, DatastoresGiveTheSame) {
    expectSameUnderTheComma("datastores", [] {
        const ScratchHome home;
        const HostFixture host;
        host.write("etc/mtab", "");
        home.write("agent/aproc/shell/vmware_fs_inv.dat", "/vmfs/volumes/4d5e 10485760 4194304 6000000 40.5 store1\n");
        systemHooks().system = [](const char *) { return 0; };
        CMM_FS_Info filesystems;
        filesystems.fSetVMFlag(1, 1);
        EXPECT_NE(filesystems.fMGetFileSys(), nullptr);
        const _ST_FS *datastore = filesystems.fMGetFileSysNext();
        EXPECT_NE(datastore, nullptr);
        const double usage = datastore == nullptr ? 0.0 : datastore->l_dDskUsage;
        EXPECT_DOUBLE_EQ(usage, 40.5);
        EXPECT_EQ(filesystems.fGetFileSystem(), 1);
        return Lines{std::to_string(static_cast<int>(usage * 10.0)), filesystems.fGetFSInfo()};
    });
}

TEST(ReadUnderAComma, LoadAveragesAndUptimeGiveTheSame) {
    expectSameUnderTheComma("load", [] {
        const HostFixture host;
        host.write("proc/loadavg", "0.75 1.50 12.25 3/412 7421\n");
        CMM_LA_Info load;
        const double *averages = load.fMGetLoadAvg();
        EXPECT_NE(averages, nullptr);
        Lines lines;
        for (int i = 0; averages != nullptr && i < 3; ++i)
            lines.push_back(std::to_string(static_cast<int>(averages[i] * 100.0)));
        EXPECT_EQ(lines, (Lines{"75", "150", "1225"}));
        return lines;
    });
}

// A process list and a figure that scripts of 2.4 kernels write.
TEST(ReadUnderAComma, ProcessScriptsGiveTheSame) {
    expectSameUnderTheComma("process scripts", [] {
        pretendKernelRelease("2.4.21-4.ELsmp");
        systemHooks().system = [](const char *) { return 0; };
        g_nGetProcessType = g_nGetProcessJAVA = 1;
        FrozenClock clock;
        const ScratchHome home;
        home.write("agent/aproc/shell/PSInfoLin.dat", "7\n");
        home.write("agent/aproc/shell/ProcessPCPU.dat", "12.5\n");
        const ProcessHost host;
        FakeProcess process;
        process.pid = 7;
        process.name = "java";
        host.put(process);
        Lines lines;
        {
            CMM_PROC_Info processes;
            for (int scan = 0; scan < 2; ++scan, clock.advance(5)) {
                const char *text = processes.fMGetProc(0);
                lines.emplace_back(text == nullptr ? "(null)" : text);
            }
        }
        g_nGetProcessType = g_nGetProcessJAVA = 0;
        return lines;
    });
}

} // namespace
