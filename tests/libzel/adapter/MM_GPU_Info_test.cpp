// The frame of the GPU collector.
#include "MM_GPU_Info.h"

#include "HostFixture.h"
#include "LogCapture.h"
#include "Separators.h"
#include "SystemHooks.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

const std::string header = "INDEX" + C + "GPU" + C + "PID" + C + "PNAME" + C + "GPUUTIL" + C + "MEMUTIL" + C;

_ST_GPU_ALL_PROC_LIST *process(int pid, unsigned gpu, const char *name, unsigned utilisation, unsigned memory) {
    auto *record = new _ST_GPU_ALL_PROC_LIST{pid, gpu, utilisation, memory, 0, {}};
    std::strncpy(record->l_strPName, name, sizeof(record->l_strPName) - 1);
    return record;
}

TEST(GpuFrame, StartsEmpty) {
    CMM_GPU_Info gpu;
    for (const int size : {gpu.m_nInvVerLen, gpu.m_nInvCardLen, gpu.m_nZelLen, gpu.m_nProcessLen})
        EXPECT_EQ(size, 512);
    for (const char *text : {gpu.m_pStrGPUVerInv, gpu.m_pStrGPUCardInv, gpu.m_pStrGPUZel, gpu.m_pStrGPUProcess})
        EXPECT_EQ(std::string(text, 512), std::string(512, '\0'));
    for (const char *text : {gpu.m_const_pstrGpuInvVerInfo, gpu.m_const_pstrGpuInvCardInfo, gpu.m_const_pstrGpuZelInfo,
                             gpu.m_const_pstrGpuProcInfo})
        EXPECT_STREQ(text, "");
    EXPECT_STREQ(gpu.m_strSplit[0], R.c_str());
    EXPECT_STREQ(gpu.m_strSplit[1], C.c_str());
    EXPECT_TRUE(gpu.m_GpuProcMap.empty());
    EXPECT_EQ(gpu.m_ulMemTotal, 0U);
}

TEST(GpuFrame, GatheringChangesNothing) {
    CMM_GPU_Info gpu;
    gpu.fInitGpu();
    gpu.fGatherGPUCardInv();
    gpu.fGatherGPUZel();
    gpu.fShutdownGpu();
    EXPECT_EQ(gpu.m_stringGpuVerInv + gpu.m_stringGpuCardInv + gpu.m_stringGpuZel + gpu.m_stringGpuProcess, "");
    EXPECT_TRUE(gpu.m_GpuProcMap.empty());
}

TEST(GpuProcesses, EmptyMapGivesTheHeaderAlone) {
    CMM_GPU_Info gpu;
    EXPECT_EQ(gpu.fProcPrintAll(), 0);
    EXPECT_EQ(gpu.m_const_pstrGpuProcInfo, header);
}

TEST(GpuProcesses, RowsAreInKeyOrderWithTheirOwnIndex) {
    CMM_GPU_Info gpu;
    gpu.m_GpuProcMap[700] = process(700, 1, "trainer", 35, 80);
    gpu.m_GpuProcMap[-5] = process(41, 0, "a name", 5, 7);

    EXPECT_EQ(gpu.fProcPrintAll(), 0);
    EXPECT_EQ(gpu.m_const_pstrGpuProcInfo, header + R + "1" + C + "0" + C + "41" + C + "a name" + C + "5" + C + "7" +
                                               C + R + "2" + C + "1" + C + "700" + C + "trainer" + C + "35" + C + "80" +
                                               C);
    // A second rendering starts afresh.
    gpu.fProcErase();
    EXPECT_TRUE(gpu.m_GpuProcMap.empty());
    EXPECT_EQ(gpu.fProcPrintAll(), 0);
    EXPECT_EQ(gpu.m_const_pstrGpuProcInfo, header);
}

TEST(GpuProcesses, NamesForgeNoRowAndMissingRecordsAreSkipped) {
    CMM_GPU_Info gpu;
    gpu.m_GpuProcMap[1] = nullptr;
    gpu.m_GpuProcMap[2] = process(2, 0, ("\x03\x1F|" + std::string(90, 'x')).c_str(), 0, 0);

    EXPECT_EQ(gpu.fProcPrintAll(), 0);
    EXPECT_EQ(gpu.m_const_pstrGpuProcInfo,
              header + R + "1" + C + "0" + C + "2" + C + "  |" + std::string(76, 'x') + C + "0" + C + "0" + C);
}

TEST(GpuProcesses, RecordsLeftInTheMapGoWithTheCollector) {
    // The leak checker of the sanitizer build watches this one.
    CMM_GPU_Info gpu;
    gpu.m_GpuProcMap[1] = process(1, 0, "left", 0, 0);
    EXPECT_EQ(gpu.m_GpuProcMap.size(), 1U);
}

// --- Process names ---------------------------------------------------------------------------------------------------

std::string nameIn(const std::string &stat) {
    const HostFixture host;
    host.write("proc/4711/stat", stat);
    CMM_GPU_Info gpu;
    char name[GPU_PROCESS_NAME_SIZE] = "untouched";
    return gpu.fGetProcName(4711, name) == 1 ? name : std::string("failed: ") + name;
}

TEST(GpuProcessName, IsTheTextBetweenTheParentheses) {
    EXPECT_EQ(nameIn("4711 (bash) S 1 4711 4711 0 -1 4194560\n"), "bash");
    EXPECT_EQ(nameIn("4711 (tmux: server) S 1 4711\n"), "tmux: server");
    EXPECT_EQ(nameIn("4711 () S 1\n"), "");
}

TEST(GpuProcessName, EndsAtTheFirstClosingParenthesis) {
    EXPECT_EQ(nameIn("4711 (a) b) S 1\n"), "a");
    EXPECT_EQ(nameIn("4711 ((sd-pam)) S 1\n"), "(sd-pam");
}

TEST(GpuProcessName, IsCutToItsField) {
    EXPECT_EQ(nameIn("4711 (" + std::string(79, 'n') + ") S"), std::string(79, 'n'));
    EXPECT_EQ(nameIn("4711 (" + std::string(300, 'n') + ") S"), std::string(79, 'n'));
    EXPECT_EQ(nameIn("4711 (" + std::string(100000, 'n')), std::string(79, 'n'));
}

TEST(GpuProcessName, FileWithoutNameFails) {
    EXPECT_EQ(nameIn("4711 bash S 1\n"), "failed: untouched");
    EXPECT_EQ(nameIn("\xff\x01"), "failed: untouched");
}

TEST(GpuProcessName, FailedReadIsLoggedMissingFileIsNot) {
    const HostFixture host;
    host.write("proc/1/stat", "");
    host.write("proc/2/stat/directory", "");
    const LogCapture log(0, 0);
    CMM_GPU_Info gpu;
    char name[GPU_PROCESS_NAME_SIZE];

    EXPECT_EQ(gpu.fGetProcName(1, name), -1);
    EXPECT_EQ(gpu.fGetProcName(2, name), -1);
    EXPECT_EQ(gpu.fGetProcName(3, name), -1);
    EXPECT_EQ(gpu.fGetProcName(-3, name), -1);
    EXPECT_THAT(log.messages(), ElementsAre("fGetProcName read failed[0]", "fGetProcName read failed[-1]"));
}

// --- Adapter ---------------------------------------------------------------------------------------------------------

// What the check gives when the shell prints `output`, and the commands it ran.
int checkWith(const std::string &output, std::vector<std::string> *commands = nullptr) {
    systemHooks().popen = [=](const char *command, const char *) {
        if (commands != nullptr)
            commands->emplace_back(command);
        std::FILE *file = std::tmpfile();
        std::fwrite(output.data(), 1, output.size(), file);
        std::rewind(file);
        return file;
    };
    CMM_GPU_Info gpu;
    return gpu.fCheckPCIInfo();
}

TEST(GpuAdapter, CountOfOneOrMoreIsAnAdapter) {
    std::vector<std::string> commands;
    EXPECT_EQ(checkWith("1\n", &commands), 1);
    EXPECT_THAT(commands, ElementsAre("lspci 2> /dev/null | grep -i nvidia | tail -1 | wc -l"));
    EXPECT_EQ(checkWith("12\n"), 1);
    EXPECT_EQ(checkWith("0\n"), -1);
    EXPECT_EQ(checkWith(""), -1);
    EXPECT_EQ(checkWith("-1\n"), -1);
    EXPECT_EQ(checkWith("sh: error\n"), -1);
    EXPECT_EQ(checkWith(std::string(5000, '9')), 1);
}

TEST(GpuAdapter, NoShellCountsAsAnAdapter) {
    systemHooks().popen = [](const char *, const char *) -> FILE * { return nullptr; };
    CMM_GPU_Info gpu;
    EXPECT_EQ(gpu.fCheckPCIInfo(), 1);
}

TEST(GpuAdapter, AnswerIsLoggedWheneverALoggerIsInstalled) {
    const LogCapture log(0, 0);
    checkWith("1\n");
    checkWith("");
    EXPECT_THAT(log.messages(), ElementsAre("popen_pci[1]", "popen_pci[]"));
}

} // namespace
