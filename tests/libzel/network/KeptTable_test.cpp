// The interface table that stays open beside one that is opened anew, over interfaces that come, go, are renamed, go up
// and down and send: the rows are the same to the byte.
#include "MM_NWT_Info.h"
#include "NetworkNamespace.h"
#include "ScratchHome.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "kernel/KeptFile.h"

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sched.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int pairs = 10;
constexpr int rounds = 120;

// The text from its first row on: only the headers of the two forms differ.
std::string rowsOf(CMM_NWT_Info &collector, int push) {
    const bool sampled = collector.fMGetNetworkStat(2.0, push) != nullptr;
    const std::string text = sampled ? collector.m_pstrNetworkInfo : "";
    const std::size_t first = text.find("\x03\x1F|");
    return first == std::string::npos ? "" : text.substr(first);
}

class Scene {
public:
    Scene() {
        g_nInterfaceStrType = 1;
        g_nLinuxBandwidthFlag = 1;
        systemHooks().system = [](const char *) { return 0; };
        for (int pair = 0; pair < pairs; ++pair)
            makePair(name(pair), name(pair) + "x");
    }

    void change() {
        const int pair = static_cast<int>(m_random() % pairs);
        switch (m_random() % 5) {
        case 0:
            runIp({"link", "set", name(pair), "down"});
            break;
        case 1:
            runIp({"link", "set", name(pair), "up"});
            break;
        case 2:
            runIp({"link", "del", name(pair)});
            makePair(name(pair), name(pair) + "x");
            break;
        case 3:
            runIp({"link", "set", name(pair) + "x", "down"});
            runIp({"link", "set", name(pair) + "x", "name", "spare"});
            runIp({"link", "set", "spare", "name", name(pair) + "x"});
            break;
        default:
            runIp({"link", "set", name(pair), "up"});
            sendFrames(name(pair), 1 + pair, 100);
        }
    }

private:
    static std::string name(int pair) { return "zt" + std::to_string(pair); }

    ScratchHome m_home;
    std::mt19937 m_random{19};
};

TEST(KeptTable, RowsAreThoseOfATableThatIsOpenedAnew) {
    const std::string reason = inNetworkNamespace([] {
        Scene scene;
        CMM_NWT_Info kept;
        CMM_NWT_Info fresh; // through the other walk, whose table has its own descriptor
        int differentRows = 0;
        std::string before;
        for (int round = 0; round < rounds; ++round) {
            scene.change();
            const std::string rows = rowsOf(kept, -1);
            const SettingGuard none(g_nKeptFileLimit, 0);
            ASSERT_EQ(rows, rowsOf(fresh, 1)) << "round " << round;
            differentRows += rows != before ? 1 : 0;
            before = rows;
        }
        EXPECT_GT(differentRows, rounds / 4);
        EXPECT_GE(zel::keptPlacesTaken(), 1);
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

// The table is that of the first thread, whichever thread reads it.
TEST(KeptTable, NamespacesOfThreadsAndOfTheProcessAreThoseOfATableThatIsOpenedAnew) {
    const std::string reason = inNetworkNamespace([] {
        Scene scene;
        CMM_NWT_Info kept;
        CMM_NWT_Info fresh;
        const auto compare = [&kept, &fresh](const char *when) {
            for (int pass = 0; pass < 3; ++pass) {
                const std::string rows = rowsOf(kept, -1);
                const SettingGuard none(g_nKeptFileLimit, 0);
                EXPECT_EQ(rows, rowsOf(fresh, 1)) << when;
            }
        };
        compare("at first");
        const int first = open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC);
        std::thread([&compare] {
            compare("in a thread");
            ASSERT_EQ(unshare(CLONE_NEWNET), 0);
            makePair("thread0", "thread1");
            compare("in a thread with a namespace");
        }).join();
        compare("in the first thread");
        ASSERT_EQ(unshare(CLONE_NEWNET), 0);
        makePair("other0", "other1");
        std::thread([&compare] { compare("in a thread of a process in a new namespace"); }).join();
        compare("in a new namespace");
        EXPECT_NE(rowsOf(kept, -1).find("other0"), std::string::npos);
        ASSERT_EQ(setns(first, CLONE_NEWNET), 0);
        compare("back in the first");
        EXPECT_NE(rowsOf(kept, -1).find("zt0"), std::string::npos);
        std::atomic<int> step = 0;
        std::thread staying([&compare, &step] {
            compare("in a thread before the first one leaves");
            step = 1;
            while (step != 2)
                usleep(1000);
            compare("in a thread after the first one has left");
        });
        while (step != 1)
            usleep(1000);
        EXPECT_EQ(unshare(CLONE_NEWNET), 0);
        step = 2;
        staying.join();
        close(first);
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

} // namespace
