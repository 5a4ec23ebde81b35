// Names from outside that hold separators, line feeds and control bytes, in every place that names come from, through
// every collector: the texts read back with exactly the rows that there are.
#include "AllCollectors.h"
#include "FcHost.h"
#include "LogCapture.h"
#include "NetworkScene.h"
#include "ProcessHost.h"
#include "Settings.h"
#include "StreamCapture.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

constexpr int rowsOfEach = 3; // processes, mounts, disks, interfaces, ports

// Written with a number after it, so that the members of a kind differ.
class Forgery : public testing::TestWithParam<const char *> {
protected:
    Forgery() {
        for (int i = 0; i < rowsOfEach; ++i) {
            const std::string name = GetParam() + std::to_string(i);
            putProcess(300 + i, name);
            m_mounts += "/dev/" + escaped(name) + " /mnt/" + escaped(name) + " ext4 rw 0 0\n";
            m_mounts += escaped(name) + ":/export /nfs/" + escaped(name) + " nfs rw 0 0\n";
            m_disks += "   8 " + std::to_string(16 * i) + " " + word(name) + " 1 2 3 4 5 6 7 8 9 10 11\n";
            m_interfaces.push_back({word(name)});
            writeFcPort(m_host, fileName(name), {.portName = word(name), .portState = word(name)});
        }
        m_host.write("etc/mtab", m_mounts);
        m_host.write("proc/diskstats", m_disks);
        m_host.write("proc/net/dev", netDevTable(m_interfaces));
        m_host.write("etc/sysconfig/hwconf", "-\nclass: NETWORK\ndesc: \"" + std::string(GetParam()) + "\"\n-\n");
        m_host.write("proc/pci", "  Bus  0, device   0:\n    Host bridge: " + std::string(GetParam()) + "\n");
        m_host.write("proc/meminfo", "MemTotal: 8000000 kB\nMemFree: 1000000 kB\nBuffers: 1 kB\nCached: 1 kB\n");
        m_host.write("proc/uptime", "1000.50 1800.25\n");
        m_host.write("proc/stat", "cpu  1 2 3 4 5 6 7 0 0 0\ncpu0 1 2 3 4 5 6 7 0 0 0\nintr 12 1\n");
        systemHooks().statfs64 = [](const char *, struct statfs64 *status) {
            *status = {};
            status->f_bsize = 4096;
            status->f_blocks = 524288;
            status->f_bfree = status->f_bavail = 262144;
            return 0;
        };
        systemHooks().system = [](const char *) { return 0; };
        systemHooks().popen = [](const char *, const char *) { return std::fopen("/dev/null", "re"); };
        systemHooks().gethostbyname_r = [](const char *, hostent *, char *, size_t, hostent **result, int *) {
            *result = nullptr;
            return 0;
        };
    }

    void putProcess(int pid, const std::string &name) const {
        const std::string directory = "proc/" + std::to_string(pid) + "/";
        m_host.write(directory + "stat", statLine({.pid = pid, .name = name}));
        m_host.write(directory + "statm", "43005 12 1200 200 0 1500 0\n");
        m_host.write(directory + "cmdline", name + std::string(1, '\0') + name);
    }

    // As the kernel writes blanks and line feeds into the mount table.
    static std::string escaped(const std::string &name) {
        std::string text;
        for (const char byte : name)
            text += byte == '\n' ? "\\012" : byte == ' ' ? "\\040" : std::string(1, byte);
        return text;
    }
    // What a kernel name or a line of a kernel file can hold.
    static std::string word(std::string name) {
        std::erase_if(name, [](char byte) { return byte == '\n' || byte == ' ' || byte == ':'; });
        return name;
    }
    static std::string fileName(std::string name) {
        std::erase(name, '/');
        return name;
    }

    static std::size_t rows(const std::vector<StepResult> &results, const std::string &step) {
        for (const StepResult &result : results) {
            if (result.step == step)
                return result.lines.size();
        }
        return 999;
    }

    HostFixture m_host;
    ScratchHome m_home;
    std::string m_mounts;
    std::string m_disks;
    std::vector<InterfaceLine> m_interfaces;
};

TEST_P(Forgery, MakesNoRowAndNoColumn) {
    AllCollectors all;
    std::snprintf(all.gpu.m_GpuProcMap[0]->l_strPName, GPU_PROCESS_NAME_SIZE, "%s", GetParam());
    std::vector<StepResult> results;
    {
        const StreamCapture streams;
        all.cycle(5.0);
        results = all.cycle(5.0);
    }
    for (const StepResult &result : results) {
        EXPECT_EQ(result.malformed, "") << result.step;
        const bool text = result.step.find("text") != std::string::npos ||
                          result.step.find("push") != std::string::npos ||
                          result.step.find("processes") != std::string::npos || result.step == "ports";
        for (const std::string &line : text ? result.lines : std::vector<std::string>())
            EXPECT_EQ(line.find_first_of("\x03\x1f"), std::string::npos) << result.step;
    }
    EXPECT_EQ(rows(results, "process text"), rowsOfEach);
    EXPECT_EQ(rows(results, "process push"), 0U) << "nobody used anything";
    EXPECT_EQ(rows(results, "real-time processes"), rowsOfEach);
    EXPECT_EQ(rows(results, "filesystems"), 2 * rowsOfEach);
    EXPECT_EQ(rows(results, "filesystem text"), 2 * rowsOfEach);
    EXPECT_EQ(rows(results, "disks"), rowsOfEach);
    EXPECT_EQ(rows(results, "disk text"), rowsOfEach);
    EXPECT_EQ(rows(results, "disk push"), rowsOfEach + 1) << "with the row of the sums";
    EXPECT_EQ(rows(results, "network text"), rowsOfEach);
    EXPECT_EQ(rows(results, "network push"), rowsOfEach);
    EXPECT_EQ(rows(results, "ports"), rowsOfEach);
    EXPECT_EQ(rows(results, "gpu processes"), 1U);
}

// The inventory that names extra interfaces is a table itself; its names are split on the full separators.
TEST_P(Forgery, OfAnExtraInterfaceMakesNoRow) {
    const NetworkScene scene(1);
    g_nNetworkExtGather = 1;
    scene.show({{"eth0"}});
    CMM_NWT_Info network;
    std::string inventory = "INDEX\x03\x1f~NAME\x03\x1f~";
    inventory += "\x03\x1f|1\x03\x1f~" + word(GetParam()) + "\x03\x1f~";
    network.fSetExtNetwork(inventory.c_str());
    const long listed = network.m_pclNetworkExtList->fGetNodeCnt();
    network.fMGetNetworkStat(5.0, 0);
    ASSERT_NE(network.fMGetNetworkStat(5.0, 0), nullptr);
    PerfTable table;
    PerfTextError error;
    ASSERT_TRUE(fgReadPerfTable(network.m_pstrNetworkInfo, table, error)) << error.reason;
    EXPECT_EQ(table.rows.size(), static_cast<std::size_t>(listed + 1));
    EXPECT_EQ(table.columns.size(), 16U);
}

TEST_P(Forgery, MakesNoLogLineAndNoLineOfTheMountList) {
    g_nNfsStatusCheckFlag = 1;
    std::size_t calls = 0;
    const LogCapture log;
    CMM_FS_Info filesystems;
    filesystems.fSetNFSFlag(1);
    filesystems.fGetFileSystem();
    for (const std::string &line : log.lines())
        calls += line.find("[MM_FS_Info]") != std::string::npos;
    g_nNfsStatusCheckFlag = 0;
    EXPECT_EQ(calls, static_cast<std::size_t>(rowsOfEach)) << "one for each server that does not answer";
    EXPECT_EQ(log.lines().size(), calls);
    const std::string list = m_home.read("agent/aproc/shell/NFSList.dat");
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), rowsOfEach);
}

INSTANTIATE_TEST_SUITE_P(Names, Forgery,
                         testing::Values("a\x03\x1f|9\x03\x1f~b", "a\x03\x1f]4.5.11.0\x03\x1f^7\x03\x1f^", "\x03",
                                         "\x1f", "a\n[20260101-000000][INFO][x][1]b", "\x03\x1f|torv_token_end",
                                         "torv_token_end", "\x1b[2J\x7f\xff\xfe", "%s%n%99999d", "$(id)`id`;|&<>'\"",
                                         ") S 1 1 1 ", "\x03\x1f~\x03\x1f~\x03\x1f~\x03\x1f~\x03\x1f~\x03\x1f~"));

} // namespace
