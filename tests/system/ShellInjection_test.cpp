// Names, keys and paths that a shell would read as commands, in every command that is composed: they are refused and
// logged, and nothing of them runs.
#include "HostFixture.h"
#include "LogCapture.h"
#include "MM_NWT_Info.h"
#include "Memory_Info.h"
#include "NCmdScheduler.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::Contains;
using testing::HasSubstr;

// "CANARY" is the file that appears when a shell runs one of them.
const std::vector<std::string> hostileNames = {"eth0;touch CANARY",
                                               "$(touch CANARY)",
                                               "`touch CANARY`",
                                               "eth0|touch CANARY",
                                               "eth0&touch CANARY",
                                               "eth0 > CANARY",
                                               ">CANARY",
                                               "${X:=$(touch CANARY)}",
                                               "'touch CANARY'",
                                               "\"touch CANARY\"",
                                               "eth0\\\ntouch CANARY",
                                               "eth0&&touch CANARY#",
                                               "bond;touch CANARY.7",
                                               "(touch CANARY)",
                                               "../../../CANARY x"};

class ShellInjection : public testing::Test {
protected:
    ShellInjection() { g_nLinuxBandwidthFlag = 0; }
    ~ShellInjection() override { g_pclCCmdScheduler = nullptr; }

    void record() {
        systemHooks().system = [this](const char *command) {
            m_commands.emplace_back(command);
            return 0;
        };
        systemHooks().popen = [this](const char *command, const char *) {
            m_commands.emplace_back(command);
            return std::fopen("/dev/null", "re");
        };
        systemHooks().saveCommand = [this](const char *, const char *command) {
            m_commands.emplace_back(command);
            return 0;
        };
    }

    // The interfaces that the listing script names, each of them, and a bond whose active member is each of them.
    std::string hostileList() const {
        std::string lines;
        for (std::size_t i = 0; i < hostileNames.size(); ++i) {
            const std::string bond = "bond" + std::to_string(i);
            lines += hostileNames[i] + "\n" + bond + "\n";
            m_host.write("proc/net/bonding/" + bond, "Currently Active Slave: " + hostileNames[i] + "\n");
        }
        return lines;
    }

    // Everything that composes a command from a name, a key or a path.
    void runEverything() {
        const CMM_NWT_Info network;
        CMemory_Info modules;
        const std::string root = g_strHostRoot;
        CCmdScheduler scheduler;
        for (const std::string &name : hostileNames) {
            char duplex[32];
            g_pclCCmdScheduler = nullptr;
            EXPECT_EQ(fGetDuplex(name.c_str(), duplex), -1) << name;
            g_pclCCmdScheduler = &scheduler;
            EXPECT_EQ(fGetDuplex(name.c_str(), duplex), -1) << name;

            std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "/%s", name.c_str());
            EXPECT_EQ(modules.GetMemoryNum(), 0U) << name;
            std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", root.c_str());

            scheduler.fSetCmdSchedulerHomePath("../scheduler/");
            EXPECT_EQ(scheduler.fCmdPush(name.c_str(), "true"), -1) << name;
            scheduler.fSetCmdSchedulerHomePath(("/" + name).c_str());
            EXPECT_EQ(scheduler.fCmdPush("key", "true"), -1) << name;
            EXPECT_EQ(scheduler.fCmdSchedulerStart(), 0) << name;
            EXPECT_EQ(scheduler.fCmdSchedulerStop(), 0) << name;

            CVornLog log(2, "test", 2);
            log.m_nCompressChk = 1;
            delete[] log.m_pstrLogFile;
            log.m_pstrLogFile = new char[name.size() + 1];
            std::strcpy(log.m_pstrLogFile, name.c_str());
            log.fLogCompress();
            EXPECT_EQ(log.fGetRecentLogFile(name.c_str()), -1) << name;
        }
    }

    HostFixture m_host;
    ScratchHome m_home;
    std::vector<std::string> m_commands;
};

TEST_F(ShellInjection, NothingOfAHostileNameReachesACommand) {
    record();
    m_home.write("agent/aproc/shell/IFName.dat", hostileList());
    std::vector<std::string> messages;
    {
        const LogCapture log;
        runEverything();
        messages = log.messages();
    }
    // "eth0\" is the first line of a name with a line feed; the bonds themselves are harmless, their members are not.
    EXPECT_EQ(m_commands,
              (std::vector<std::string>{
                  "../../utils/ETC/ShCmd 10 ./shell/LINUX/IFName.sh > ../aproc/shell/IFName.dat 2> /dev/null"}));
    EXPECT_THAT(messages, Contains("Bandwidth refused for interface name[$(touch CANARY)]"));
    EXPECT_THAT(messages, Contains("Bandwidth refused for interface name[bond1]"));
    EXPECT_THAT(messages, Contains("Duplex refused for interface name[`touch CANARY`]"));
    EXPECT_THAT(messages, Contains(HasSubstr("memory map path refused[/>CANARY")));
    EXPECT_THAT(messages, Contains(HasSubstr("command save failed : home path or key is unsafe")));
    EXPECT_THAT(messages, Contains(HasSubstr("daemon start failed : home path is unsafe")));
}

TEST_F(ShellInjection, TheRealKitRunsNothingOfAHostileName) {
    m_home.installKit();
    m_home.write("agent/hostile", hostileList());
    m_home.script("agent/bin/shell/LINUX/IFName.sh", "cat ../hostile; echo lo\n");
    runEverything();
    for (const auto &entry : std::filesystem::recursive_directory_iterator(m_home.path()))
        EXPECT_THAT(entry.path().filename().string(), testing::Not(HasSubstr("CANARY")));
    EXPECT_FALSE(std::filesystem::exists("/CANARY"));
    // The kit itself has run: the one harmless name was measured, and it has no speed.
    EXPECT_THAT(m_home.read("agent/aproc/shell/IFName.dat"), HasSubstr("lo\n"));
}

// In the mode of command files the key becomes a file name, which stays in the scheduler's home.
TEST_F(ShellInjection, AKeyNamesAFileOfTheSchedulersHome) {
    m_home.write("scheduler/.keep", "");
    CCmdScheduler scheduler;
    scheduler.fSetCmdSchedulerHomePath((m_home.path() / "scheduler").c_str());
    for (const std::string &name : hostileNames)
        EXPECT_EQ(scheduler.fCmdSave(name.c_str(), "true"), 0) << name;
    std::size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(m_home.path() / "scheduler")) {
        const std::string name = entry.path().filename().string();
        files += name != ".keep";
        EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._"),
                  std::string::npos)
            << name;
    }
    EXPECT_GT(files, 0U);
}

} // namespace
