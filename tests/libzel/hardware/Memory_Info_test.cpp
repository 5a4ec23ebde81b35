// RAM ranges.
#include "HostFixture.h"
#include "LogCapture.h"
#include "Memory_Info.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

// Answers every popen with `output` and remembers its command.
class ShellAnswer {
public:
    explicit ShellAnswer(const std::string &output) {
        systemHooks().popen = [this, output](const char *command, const char *) {
            m_commands.emplace_back(command);
            std::FILE *file = std::tmpfile();
            std::fwrite(output.data(), 1, output.size(), file);
            std::rewind(file);
            return file;
        };
    }

    const std::vector<std::string> &commands() const { return m_commands; }

private:
    std::vector<std::string> m_commands;
};

TEST(RamRanges, LinesOfTheMemoryMapAreCounted) {
    HostFixture host;
    host.write("proc/iomem", "00000000-00000fff : Reserved\n00001000-0009fbff : System RAM\n"
                             "000a0000-000bffff : PCI Bus 0000:00\n00100000-bffd9fff : System RAM\n"
                             "  01000000-01ffffff : Kernel code\n100000000-43fffffff : System RAM\n");
    CMemory_Info modules;

    EXPECT_EQ(modules.MemoryNum(), 0U);
    EXPECT_EQ(modules.GetMemoryNum(), 3U);
    EXPECT_EQ(modules.MemoryNum(), 3U);
}

TEST(RamRanges, CommandIsTheExactPipeline) {
    const ShellAnswer shell("7\n");
    CMemory_Info modules;

    EXPECT_EQ(modules.GetMemoryNum(), 7U);
    EXPECT_THAT(shell.commands(), testing::ElementsAre("cat /proc/iomem | grep 'System RAM' | wc -l"));
}

TEST(RamRanges, CommandIsShownOnlyWhenPrintingIsOn) {
    const ShellAnswer shell("7\n");
    CMemory_Info modules;
    {
        const StreamCapture streams;
        modules.GetMemoryNum();
        EXPECT_EQ(streams.err(), "");
    }
    const StreamCapture streams;
    g_nPrint = 1;
    modules.GetMemoryNum();
    g_nPrint = 0;
    EXPECT_EQ(streams.err(), "Memory popen command : cat /proc/iomem | grep 'System RAM' | wc -l\n");
}

TEST(RamRanges, NoShellNoOutputAndNoNumberGiveZero) {
    CMemory_Info modules;
    modules.m_nMemoryNum = 5;
    systemHooks().popen = [](const char *, const char *) -> FILE * { return nullptr; };
    EXPECT_EQ(modules.GetMemoryNum(), 0U);
    EXPECT_EQ(modules.MemoryNum(), 0U);
    {
        const ShellAnswer shell("");
        EXPECT_EQ(modules.GetMemoryNum(), 0U);
    }
    const ShellAnswer shell("cat: /proc/iomem: denied\n");
    EXPECT_EQ(modules.GetMemoryNum(), 0U);
}

TEST(RamRanges, NineCharactersAreRead) {
    const ShellAnswer shell("1234567890123\n");
    CMemory_Info modules;
    EXPECT_EQ(modules.GetMemoryNum(), 123456789U);
}

TEST(RamRanges, HostRootThatCouldStartACommandIsRefused) {
    const LogCapture log;
    const HostFixture host;
    const ShellAnswer shell("7\n");
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "/tmp/x;touch y");
    CMemory_Info modules;

    EXPECT_EQ(modules.GetMemoryNum(), 0U);
    EXPECT_THAT(shell.commands(), testing::IsEmpty());
    EXPECT_THAT(log.messages(), testing::ElementsAre("memory map path refused[/tmp/x;touch y/proc/iomem]"));
}

TEST(RamRanges, PipeOrDeviceInThePlaceOfTheMapIsNotRead) {
    const HostFixture host;
    const ShellAnswer shell("7\n");
    host.write("proc/stat", "");
    ASSERT_EQ(mkfifo((host.path() / "proc/iomem").c_str(), 0600), 0);
    CMemory_Info modules;
    EXPECT_EQ(modules.GetMemoryNum(), 0U);
    host.remove("proc/iomem");
    std::filesystem::create_symlink("/dev/zero", host.path() / "proc/iomem");
    EXPECT_EQ(modules.GetMemoryNum(), 0U);
    EXPECT_THAT(shell.commands(), testing::IsEmpty());
}

} // namespace
