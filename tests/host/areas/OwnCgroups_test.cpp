// Control groups of this host's kernel: in a namespace of their own, where nobody else makes any.
#include "PrivateMounts.h"
#include "SampledHost.h"
#include "SystemCalls.h"
#include "SystemHooks.h"
#include "host/Rates.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

using zel::Absence;
using zel::Area;
using zel::Cgroup;
using zel::Sample;
using zel::Sampler;

const std::string top = "/sys/fs/cgroup";

std::string mountOfThisHost() {
    for (const std::string &place : {top, top + "/unified"}) {
        if (std::filesystem::exists(place + "/cgroup.controllers"))
            return place;
    }
    return "";
}

void writeTo(const std::string &path, const std::string &text) {
    std::ofstream(path) << text;
}

// Inside, /sys/fs/cgroup is a tree of version 2 that only the test knows.
bool enterTree(const std::string &own) {
    writeTo(own + "/cgroup.procs", std::to_string(getpid()));
    return unshare(CLONE_NEWCGROUP) == 0 && mount("cgroup2", top.c_str(), "cgroup2", 0, nullptr) == 0;
}

// A cgroup of the test's own, removed with all below it.
class OwnTree {
public:
    OwnTree() {
        const std::string mount = mountOfThisHost();
        if (mount.empty())
            return;
        const std::string path = mount + "/zel_test_" + std::to_string(getpid());
        if (mkdir(path.c_str(), 0755) == 0)
            m_path = path;
    }
    ~OwnTree() {
        if (!m_path.empty())
            remove(m_path);
    }
    const std::string &path() const { return m_path; }

private:
    static void remove(const std::filesystem::path &directory) {
        for (const auto &entry : std::filesystem::directory_iterator(directory)) {
            if (entry.is_directory())
                remove(entry.path());
        }
        rmdir(directory.c_str());
    }

    std::string m_path;
};

class OwnCgroups : public testing::TestWithParam<int> {
protected:
    void run(const std::function<void()> &body) const {
        const OwnTree tree;
        if (tree.path().empty())
            GTEST_SKIP() << "no cgroup of version 2 can be made here";
        const TempDirectory scratch;
        const std::string noNamespace = withPrivateMounts([&] {
            constexpr unsigned limit = 60; // seconds
            alarm(limit);
            if (enterTree(tree.path()))
                body();
            else
                scratch.write("no", std::strerror(errno));
        });
        if (!noNamespace.empty())
            GTEST_SKIP() << noNamespace;
        if (scratch.exists("no"))
            GTEST_SKIP() << "no tree of cgroups can be mounted: " << scratch.read("no");
    }
    static void make(const std::string &path) { ASSERT_EQ(mkdir((top + path).c_str(), 0755), 0) << path; }
    static void drop(const std::string &path) { ASSERT_EQ(rmdir((top + path).c_str()), 0) << path; }
    static zel::Options options() { return {.areas = {Area::Cgroups}, .keptFiles = GetParam()}; }
};

std::string pathsOf(const Sample &sample) {
    std::vector<std::string> paths;
    for (const Cgroup &cgroup : sample.cgroups)
        paths.push_back(cgroup.path + ' ');
    std::sort(paths.begin(), paths.end());
    return std::accumulate(paths.begin(), paths.end(), std::string());
}

const Cgroup *find(const Sample &sample, const std::string &path) {
    for (const Cgroup &cgroup : sample.cgroups) {
        if (cgroup.path == path)
            return &cgroup;
    }
    return nullptr;
}

std::string failureText(const Sample &sample) {
    const auto [error, file] = failureOf(sample, Area::Cgroups);
    return error == 0 ? "" : file + ' ' + std::to_string(error);
}

TEST_P(OwnCgroups, ThatComeAndGoAreRightInEachSample) {
    run([] {
        Sampler sampler(options());
        Sample sample = sampler.take();
        EXPECT_EQ(pathsOf(sample), "/ ");
        make("/a");
        make("/a/b");
        make("/c");
        sampler.take(sample);
        EXPECT_EQ(pathsOf(sample), "/ /a /a/b /c ");
        sampler.take(sample);
        EXPECT_EQ(pathsOf(sample), "/ /a /a/b /c ");
        drop("/a/b");
        sampler.take(sample);
        EXPECT_EQ(pathsOf(sample), "/ /a /c ");
        drop("/c");
        make("/d"); // as many as before
        sampler.take(sample);
        EXPECT_EQ(pathsOf(sample), "/ /a /d ");
        make("/d/e");
        drop("/a");
        make("/f");
        sampler.take(sample);
        EXPECT_EQ(pathsOf(sample), "/ /d /d/e /f ");
        EXPECT_EQ(failureText(sample), "");
    });
}

TEST_P(OwnCgroups, OneMadeAgainUnderItsOldNameStartsAnew) {
    run([] {
        Sampler sampler(options());
        make("/a");
        make("/b");
        sampler.take();
        const Sample before = sampler.take();
        drop("/a");
        make("/a");
        const Sample now = sampler.take();
        ASSERT_EQ(pathsOf(now), "/ /a /b ");
        EXPECT_NE(*find(before, "/a")->inode, *find(now, "/a")->inode);
        const zel::Rates rates = zel::between(before, now);
        EXPECT_TRUE(lacks(rates.perSecond("cgroups", "cpu_usage_seconds_total", "/a"), Absence::NotYet));
        EXPECT_TRUE(holds(rates.perSecond("cgroups", "cpu_usage_seconds_total", "/b"), 0));
        struct stat status {};
        ASSERT_EQ(stat((top + "/a").c_str(), &status), 0);
        EXPECT_TRUE(holds(find(now, "/a")->inode, status.st_ino));
    });
}

TEST_P(OwnCgroups, WholeTreesThatAreMadeAnewAreFollowed) {
    run([] {
        Sampler sampler(options());
        Sample sample;
        for (int round = 0; round < 4; ++round) {
            for (const char *path : {"/a", "/a/b", "/a/b/c", "/a/d"})
                make(path);
            sampler.take(sample);
            EXPECT_EQ(pathsOf(sample), "/ /a /a/b /a/b/c /a/d ") << round;
            for (const char *path : {"/a/d", "/a/b/c", "/a/b", "/a"})
                drop(path);
        }
        sampler.take(sample);
        EXPECT_EQ(pathsOf(sample), "/ ");
    });
}

// Between the listing of the parent and the reading of the cgroup.
TEST_P(OwnCgroups, OneThatGoesWhileItIsReadHasNoRow) {
    run([] {
        Sampler sampler(options());
        Sample sample = sampler.take();
        make("/a");
        make("/b");
        systemHooks().beforeOpenat = [](const char *path) {
            if (std::string_view(path) == "cpu.stat" && rmdir((top + "/b").c_str()) == 0)
                mkdir((top + "/c").c_str(), 0755);
        };
        sampler.take(sample);
        systemHooks().beforeOpenat = nullptr;
        EXPECT_EQ(pathsOf(sample), "/ /a /c ");
        EXPECT_EQ(failureText(sample), "");
        sampler.take(sample);
        EXPECT_EQ(pathsOf(sample), "/ /a /c ");
    });
}

TEST_P(OwnCgroups, EventsAndProcessorTimeAreThoseOfItsProcesses) {
    run([] {
        make("/busy");
        const pid_t child = fork();
        if (child == 0) {
            writeTo(top + "/busy/cgroup.procs", std::to_string(getpid()));
            for (;;) {
            }
        }
        Sampler sampler(options());
        Sample before = sampler.take(), now;
        for (int tries = 0; tries < 3000; ++tries) { // 30 seconds
            usleep(10000);
            sampler.take(now);
            if (find(now, "/busy")->cpuUsageSeconds.valueOr(0) > 0.1)
                break;
        }
        EXPECT_TRUE(holds(find(now, "/busy")->populated, 1));
        EXPECT_GT(find(now, "/busy")->cpuUsageSeconds.valueOr(0), 0.1);
        EXPECT_TRUE(holds(find(now, "/busy")->frozen, 0));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        sampler.take(now);
        EXPECT_TRUE(holds(find(now, "/busy")->populated, 0));
        EXPECT_EQ(failureText(now), "");
    });
}

TEST_P(OwnCgroups, DescendantsAreCountedAtOnce) {
    run([] {
        Sampler sampler(options());
        make("/a");
        EXPECT_TRUE(holds(find(sampler.take(), "/a")->descendants, 0));
        make("/a/b");
        make("/a/b/c");
        EXPECT_TRUE(holds(find(sampler.take(), "/a")->descendants, 2));
        drop("/a/b/c");
        drop("/a/b");
        EXPECT_TRUE(holds(find(sampler.take(), "/a")->descendants, 0));
    });
}

TEST_P(OwnCgroups, SteadySampleAllocatesNothingAndOpensNothingAnew) {
    run([] {
        for (int index = 0; index < 40; ++index)
            make("/a" + std::to_string(index));
        Sampler sampler(options());
        Sample sample;
        for (int warm = 0; warm < 4; ++warm)
            sampler.take(sample);
        int opened = 0;
        systemHooks().beforeOpenat = [&opened](const char *) { ++opened; };
        const long before = allocationsSoFar();
        sampler.take(sample);
        EXPECT_EQ(allocationsSoFar(), before);
        systemHooks().beforeOpenat = nullptr;
        EXPECT_EQ(opened == 0, GetParam() > 0);
        EXPECT_EQ(sample.cgroups.size(), 41U);
    });
}

TEST_P(OwnCgroups, WhatHasGoneKeepsNoDescriptor) {
    run([] {
        const auto openFiles = [] {
            const std::filesystem::directory_iterator files("/proc/self/fd");
            return std::distance(begin(files), end(files));
        };
        Sampler sampler(options());
        make("/first"); // a root with children has one file more that is read in each sample
        Sample sample;
        for (int warm = 0; warm < 3; ++warm)
            sampler.take(sample);
        drop("/first");
        sampler.take(sample);
        const auto before = openFiles();
        for (int index = 0; index < 20; ++index)
            make("/a" + std::to_string(index));
        for (int warm = 0; warm < 3; ++warm)
            sampler.take(sample);
        EXPECT_EQ(openFiles() >= before + 20, GetParam() > 0);
        for (int index = 0; index < 20; ++index)
            drop("/a" + std::to_string(index));
        sampler.take(sample);
        EXPECT_EQ(openFiles(), before);
    });
}

INSTANTIATE_TEST_SUITE_P(Kept, OwnCgroups, testing::Values(0, 10000),
                         [](const auto &kept) { return kept.param == 0 ? "NoFile" : "AllFiles"; });

} // namespace
