// fGetDuplex: the age of the answer, the scheduler, the words, refused names.
#include "FrozenClock.h"
#include "MM_NWT_Info.h"
#include "NCmdScheduler.h"
#include "NetworkScene.h"
#include "SystemHooks.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *ANSWER = "agent/aproc/shell/DuplexLinux.dat";
constexpr std::time_t NOW = 1700000000;

std::string commandFor(const std::string &name) {
    return "../../utils/ETC/ShCmd 5 ./shell/LINUX/NICDuplexInfoLinux.sh " + name +
           " ../aproc/shell/DuplexLinuxTmp.dat ../aproc/shell/DuplexLinux.dat";
}

class Duplex : public testing::Test {
protected:
    ~Duplex() override { g_pclCCmdScheduler = nullptr; }

    void answer(const std::string &text, long age) const {
        scene.home.write(ANSWER, text);
        const timespec times[2] = {{NOW - age, 0}, {NOW - age, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, (scene.home.path() / ANSWER).c_str(), times, 0), 0);
    }

    /// The text written for a fresh answer, or "" with -1.
    std::string textOf(const std::string &line) const {
        answer(line, 0);
        char text[12] = "";
        const int result = fGetDuplex("eth0", text);
        EXPECT_EQ(result, text[0] == '\0' ? -1 : 1) << line;
        return text;
    }

    NetworkScene scene{0};
    FrozenClock clock{NOW};
};

TEST_F(Duplex, FreshAnswerIsReadWithoutRunningAnything) {
    answer("Full\n", 300);
    char text[12] = "";
    EXPECT_EQ(fGetDuplex("eth0", text), 1);
    EXPECT_STREQ(text, "Full Duplex");
    EXPECT_THAT(scene.commands, IsEmpty());
}

TEST_F(Duplex, OldAnswerHasTheScriptRun) {
    answer("Full\n", 301);
    char text[12] = "";
    EXPECT_EQ(fGetDuplex("eth0", text), 1) << "the file is read as it is afterwards";
    EXPECT_THAT(scene.commands, ElementsAre(commandFor("eth0")));
}

TEST_F(Duplex, MissingAnswerHasTheScriptRun) {
    systemHooks().system = [this](const char *command) {
        scene.commands.emplace_back(command);
        scene.home.write(ANSWER, "half\n");
        return 0;
    };
    char text[12] = "";
    EXPECT_EQ(fGetDuplex("bond0.100:1", text), 1);
    EXPECT_STREQ(text, "Half Duplex");
    EXPECT_THAT(scene.commands, ElementsAre(commandFor("bond0.100:1")));
}

TEST_F(Duplex, AnswerOfThisSecondIsFreshAndOneFromTheFutureIsNot) {
    answer("Full\n", 0);
    char text[12] = "";
    EXPECT_EQ(fGetDuplex("eth0", text), 1);
    EXPECT_THAT(scene.commands, IsEmpty());
    for (const long ahead : {1L, 1000L, 100000000L}) {
        scene.commands.clear();
        answer("Full\n", -ahead);
        EXPECT_EQ(fGetDuplex("eth0", text), 1) << "the file is read as it is afterwards";
        EXPECT_THAT(scene.commands, ElementsAre(commandFor("eth0"))) << ahead;
    }
}

TEST_F(Duplex, NoAnswerFails) {
    char text[12] = "same";
    EXPECT_EQ(fGetDuplex("eth0", text), -1);
    answer("", 0);
    EXPECT_EQ(fGetDuplex("eth0", text), -1);
    EXPECT_STREQ(text, "same");
}

TEST_F(Duplex, WordsTell) {
    for (const char *line : {"Full\n", "full", "x FULL x\n", "Half or Full\n", "DUPLEX=full-duplex\n"})
        EXPECT_EQ(textOf(line), "Full Duplex") << line;
    for (const char *line : {"Half\n", "half", "x HALF x\n"})
        EXPECT_EQ(textOf(line), "Half Duplex") << line;
    for (const char *line : {"fULL\n", "hALF\n", "Unknown!\n", "\n", "\nFull\n"})
        EXPECT_EQ(textOf(line), "") << line;
    EXPECT_EQ(textOf(std::string(127, ' ') + "Full\n"), "") << "only 127 characters are looked at";
    EXPECT_EQ(textOf(std::string(123, ' ') + "Full\n"), "Full Duplex");
}

TEST_F(Duplex, NameThatIsNoNameNeverReachesAShell) {
    char text[12] = "same";
    for (const std::string name : {"eth0;reboot", "$(reboot)", "", "a b", "`x`", "eth0\n", "eth\x1f"})
        EXPECT_EQ(fGetDuplex(name.c_str(), text), -1) << name;
    EXPECT_EQ(fGetDuplex(std::string(5000, 'x').c_str(), text), -1);
    EXPECT_THAT(scene.commands, IsEmpty());
    EXPECT_STREQ(text, "same");
}

} // namespace
