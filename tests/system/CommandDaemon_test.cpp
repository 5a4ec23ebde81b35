// The command daemon, started and stopped by several callers at a time: one works for a home, and none outlives its
// stop.
#include "HomeWatch.h"
#include "ScratchHome.h"
#include "ShellRun.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace {

class CommandDaemons : public testing::Test {
protected:
    CommandDaemons() { m_home.installKit(); }
    ~CommandDaemons() override { stop(); }

    void start() const { EXPECT_EQ(runShell(m_directory + "/cmd_scd_start.sh " + m_directory).status, 0); }
    void stop() const { EXPECT_EQ(runShell(m_directory + "/cmd_scd_stop.sh " + m_directory).status, 0); }
    std::string pid() const {
        const std::string line = m_home.read("agent/scheduler/cmd_scd.pid");
        return line.substr(0, line.find('\n'));
    }
    void save(const std::string &key, const std::string &command) const {
        m_home.write("agent/scheduler/shcmd_" + key + ".cmd", command + "\n");
    }
    bool done(const std::string &file) const { return m_home.exists("agent/bin/" + file); }

    // The daemons of the home, by their command lines.
    long daemons() const {
        long count = 0;
        for (const std::string &process : namesIn("/proc"))
            count += commandLine(process).find("/cmd_scd.sh " + m_directory + " ") != std::string::npos ? 1 : 0;
        return count;
    }

    // With a blank after every argument; empty for a process that has gone.
    static std::string commandLine(const std::string &process) {
        char text[1024] = {};
        std::FILE *file = std::fopen(("/proc/" + process + "/cmdline").c_str(), "re");
        if (file == nullptr)
            return "";
        const std::size_t length = std::fread(text, 1, sizeof(text), file);
        std::string line(text, length);
        std::fclose(file);
        std::replace(line.begin(), line.end(), '\0', ' ');
        return line;
    }

    ScratchHome m_home;
    std::string m_directory = (m_home.path() / "agent/scheduler").string();
};

TEST_F(CommandDaemons, StartedByManyAtOnceIsOne) {
    const std::string startScript = m_directory + "/cmd_scd_start.sh " + m_directory;
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(runShell("for i in 1 2 3 4; do " + startScript + " & done; wait").status, 0);
        EXPECT_TRUE(soon([this] { return daemons() == 1; })) << daemons() << " daemons in round " << round;
        stop();
        EXPECT_TRUE(soon([this] { return daemons() == 0; })) << daemons() << " outlive the stop of round " << round;
    }
}

TEST_F(CommandDaemons, StartsAndStopsAtOnceLeaveNothing) {
    const std::string arguments = " " + m_directory;
    runShell("for i in 1 2 3; do " + m_directory + "/cmd_scd_start.sh" + arguments + " & " + m_directory +
             "/cmd_scd_stop.sh" + arguments + " & done; wait");
    stop();
    EXPECT_TRUE(soon([this] { return daemons() == 0; }));
}

TEST_F(CommandDaemons, NewOneWaitsForTheLastCommandOfTheFormer) {
    start();
    save("long", "echo > begun; sleep 2; echo > ended");
    ASSERT_TRUE(soon([this] { return done("begun"); }));
    stop();
    start();
    save("next", "[ -e ended ] && echo > after");
    EXPECT_TRUE(soon([this] { return done("after"); })) << "two at a time";
    EXPECT_TRUE(done("ended"));
}

TEST_F(CommandDaemons, OneThatIsKilledIsFollowedWhateverItLeft) {
    start();
    save("left", "sleep 98730 >/dev/null 2>&1 & echo $! > left");
    ASSERT_TRUE(soon([this] { return done("left") && !m_home.read("agent/bin/left").empty(); }));
    runShell("kill -9 " + pid());
    start();
    save("next", "echo > after");
    EXPECT_TRUE(soon([this] { return done("after"); })) << "the lock went with its daemon";
    runShell("kill $(cat left)");
}

TEST_F(CommandDaemons, StopOfOneThatStillWaitsEndsIt) {
    start();
    save("long", "echo > begun; sleep 2");
    ASSERT_TRUE(soon([this] { return done("begun"); }));
    stop();
    start();
    stop();
    EXPECT_TRUE(soon([this] { return daemons() == 0; }));
}

} // namespace
