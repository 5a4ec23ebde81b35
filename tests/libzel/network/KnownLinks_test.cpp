// The link states that passes remember, beside what the kernel answers at the same moment: on real interfaces, one by
// one, over every way in which they can change.
#include "MM_NWT_Info.h"
#include "NetworkNamespace.h"
#include "PerfTextReader.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "kernel/KeptFile.h"

#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int PAIRS = 6;

std::string end(int pair, char side) {
    return "zv" + std::to_string(pair) + side;
}

void makePairs() {
    for (int pair = 0; pair < PAIRS; ++pair)
        makePair(end(pair, 'a'), end(pair, 'b'));
}

void setLink(const std::string &name, const char *state) {
    ASSERT_EQ(runIp({"link", "set", name, state}), 0) << name;
}

// A collector in text mode whose link questions are counted and answered by the kernel.
class LinkScene {
public:
    LinkScene() {
        systemHooks().ioctl = [this](int descriptor, unsigned long request, void *argument) {
            ++questions;
            return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
        };
        m_collector.fMGetNetworkStat(1.0, -1); // gives no rows
    }

    /// A pass. Every link of its text is what the kernel says. Returns its number of questions.
    int pass() {
        questions = 0;
        EXPECT_NE(m_collector.fMGetNetworkStat(1.0, -1), nullptr);
        const int asked = questions;
        PerfTable table;
        PerfTextError error;
        EXPECT_TRUE(fgReadPerfTable(m_collector.m_pstrNetworkInfo, table, error));
        for (std::size_t row = 0; row < table.rows.size(); ++row) {
            const std::string name(table.value(row, "NAME"));
            EXPECT_EQ(table.value(row, "LINK"), m_collector.fGetLinkAlive(name.c_str()) == 1 ? "1" : "0") << name;
        }
        rows = static_cast<int>(table.rows.size());
        return asked;
    }

    /// Passes until one asks nothing: the kernel reports the carrier of a pair up to a second after the change that
    /// took it away.
    bool comesToRest() {
        for (int tries = 0; tries < 150; ++tries) {
            if (pass() == 0)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

    void settle() {
        EXPECT_TRUE(comesToRest());
        EXPECT_EQ(rows, 2 * PAIRS);
    }

    int questions = 0;
    int rows = 0;

private:
    struct TextMode {
        TextMode() {
            g_nInterfaceStrType = 1;
            g_nLinuxBandwidthFlag = 1;
            systemHooks().system = [](const char *) { return 0; };
        }
    };

    ScratchHome m_home;
    TextMode m_mode;
    CMM_NWT_Info m_collector;
};

class KnownLinks : public testing::Test {
protected:
    static void inNamespaceOrSkip(const std::function<void()> &body) {
        const std::string reason = inNetworkNamespace(body);
        if (!reason.empty())
            GTEST_SKIP() << reason;
    }
};

TEST_F(KnownLinks, EveryInterfaceThatGoesDownOrUpIsNoticed) {
    inNamespaceOrSkip([] {
        makePairs();
        LinkScene scene;
        scene.settle();
        for (const char *state : {"down", "up"}) {
            for (int pair = 0; pair < PAIRS; ++pair) {
                setLink(end(pair, 'a'), state);
                EXPECT_GT(scene.pass(), 0) << pair;
                EXPECT_TRUE(scene.comesToRest()) << pair;
            }
        }
    });
}

TEST_F(KnownLinks, InterfacesThatComeGoAndAreRenamedAreNoticed) {
    inNamespaceOrSkip([] {
        makePairs();
        LinkScene scene;
        scene.settle();
        ASSERT_EQ(runIp({"link", "del", end(2, 'a')}), 0);
        EXPECT_GT(scene.pass(), 0);
        EXPECT_EQ(scene.rows, 2 * PAIRS - 2);
        EXPECT_TRUE(scene.comesToRest());

        makePair(end(2, 'b'), end(2, 'a')); // the same names, the other way round
        setLink(end(2, 'b'), "down");
        scene.pass();
        EXPECT_EQ(scene.rows, 2 * PAIRS);
        EXPECT_TRUE(scene.comesToRest());

        setLink(end(0, 'a'), "down"); // two interfaces exchange their names
        ASSERT_EQ(runIp({"link", "set", end(0, 'a'), "name", "spare"}), 0);
        setLink(end(1, 'a'), "down");
        ASSERT_EQ(runIp({"link", "set", end(1, 'a'), "name", end(0, 'a')}), 0);
        setLink(end(0, 'a'), "up");
        ASSERT_EQ(runIp({"link", "set", "spare", "name", end(1, 'a')}), 0);
        EXPECT_GT(scene.pass(), 0);
        EXPECT_TRUE(scene.comesToRest());
    });
}

TEST_F(KnownLinks, MoreChangesThanTheKernelReportsAreNoticed) {
    inNamespaceOrSkip([] {
        makePairs();
        LinkScene scene;
        scene.settle();
        for (int round = 0; round < 20; ++round) {
            for (int pair = 0; pair < PAIRS; ++pair)
                setLink(end(pair, 'a'), round % 2 == 0 ? "down" : "up");
        }
        EXPECT_GT(scene.pass(), 0);
        EXPECT_TRUE(scene.comesToRest());
        setLink(end(3, 'a'), "down");
        EXPECT_GT(scene.pass(), 0) << "reports go on after some were lost";
        EXPECT_TRUE(scene.comesToRest());
    });
}

TEST_F(KnownLinks, AnotherNamespaceIsAskedAnew) {
    inNamespaceOrSkip([] {
        makePairs();
        LinkScene scene;
        scene.settle();
        ASSERT_EQ(unshare(CLONE_NEWNET), 0);
        makePairs();
        for (int pair = 0; pair < PAIRS; ++pair)
            setLink(end(pair, 'b'), "down");
        EXPECT_EQ(scene.pass(), 2 * PAIRS);
        EXPECT_TRUE(scene.comesToRest());
        setLink(end(0, 'b'), "up");
        EXPECT_GT(scene.pass(), 0);
    });
}

TEST_F(KnownLinks, ChildOfForkTakesNoReportFromItsParent) {
    inNamespaceOrSkip([] {
        makePairs();
        LinkScene scene;
        scene.settle();
        setLink(end(4, 'b'), "down");
        const pid_t child = fork();
        if (child == 0) {
            const bool asked = scene.pass() > 0 && scene.comesToRest();
            _exit(asked && !testing::Test::HasFailure() ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        EXPECT_GT(scene.pass(), 0);
        EXPECT_TRUE(scene.comesToRest());
    });
}

TEST_F(KnownLinks, DescriptorThatTheProgramClosedAndUsesItselfIsLeftAlone) {
    inNamespaceOrSkip([] {
        makePairs();
        LinkScene scene;
        scene.settle();
        closefrom(3);
        std::vector<int> own; // sockets of the program under every number that may have been the library's
        for (int i = 0; i < 20; ++i) {
            int pair[2];
            ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
            ASSERT_EQ(send(pair[0], "x", 1, 0), 1);
            ASSERT_EQ(send(pair[1], "x", 1, 0), 1);
            own.insert(own.end(), {pair[0], pair[1]});
        }
        setLink(end(5, 'a'), "down");
        EXPECT_GT(scene.pass(), 0);
        EXPECT_TRUE(scene.comesToRest());
        for (const int socket : own) {
            char byte = ' ';
            EXPECT_EQ(recv(socket, &byte, 1, MSG_DONTWAIT), 1) << socket;
        }
    });
}

TEST_F(KnownLinks, WithoutKeptFilesEveryPassAsks) {
    inNamespaceOrSkip([] {
        makePairs();
        LinkScene scene;
        scene.settle();
        const int taken = zel::keptPlacesTaken();
        EXPECT_EQ(taken, 2) << "the table and the reports";
        g_nKeptFileLimit = 0;
        EXPECT_EQ(scene.pass(), 2 * PAIRS);
        EXPECT_EQ(scene.pass(), 2 * PAIRS);
        EXPECT_EQ(zel::keptPlacesTaken(), 0);

        g_nKeptFileLimit = 1;
        ASSERT_TRUE(zel::takeKeptPlace()); // the only one, by somebody else
        EXPECT_EQ(scene.pass(), 2 * PAIRS);
        EXPECT_EQ(scene.pass(), 2 * PAIRS);
        zel::returnKeptPlace();
        g_nKeptFileLimit = -1;
        scene.settle();
        EXPECT_EQ(zel::keptPlacesTaken(), taken);
    });
}

TEST_F(KnownLinks, FewInterfacesAreAlwaysAsked) {
    inNamespaceOrSkip([] {
        makePair("zv0a", "zv0b");
        LinkScene scene;
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(scene.pass(), 2);
    });
}

} // namespace
