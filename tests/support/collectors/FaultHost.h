// A whole host at two moments, and a staged home: what every collector needs for a full cycle, the same each time.
#pragma once

#include "FrozenClock.h"
#include "HostRoot.h"
#include "Paths.h"
#include "ScratchHome.h"
#include "SystemHooks.h"
#include "TempDirectory.h"
#include "VornLog.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

class FaultHost {
public:
    FaultHost() {
        for (int time = 0; time < 2; ++time)
            build(time);
        m_home.write("agent/aproc/shell/IFName_bandwidth.dat", "TORVSC|eth0|1000000|2\nTORVSC|docker0|10000000|2\n");
        m_home.write("agent/aproc/shell/CpuCntPhysical.dat", "2\n");
        for (const auto &[file, marker] : {std::pair("CpuINVStrInfo", "TORVCPU"),
                                           {"DiskINVStrInfo", "TORVDISK"},
                                           {"InterfaceINVStrInfo", "TORVInterface"},
                                           {"HBACardINVStrInfo", "TORVHBACARD"}})
            m_home.write(std::string("agent/aproc/shell/") + file + ".dat", std::string(marker) + "|an inventory\n");
        m_home.write("agent/aproc/shell/DuplexLinux.dat", "Duplex: Full\n");
        answerForTheSystem();
        show(0);
    }
    ~FaultHost() { g_strHostRoot[0] = '\0'; }
    FaultHost(const FaultHost &) = delete;
    FaultHost &operator=(const FaultHost &) = delete;

    /// Moves to the first or the second moment, five seconds on.
    void show(int time) {
        m_clock.advance(5);
        std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", root(time).c_str());
    }

    /// Until the calling thread is the only one: a thread that has answered still holds its reference for a moment.
    static void waitForThreads() {
        struct stat tasks {};
        for (int waited = 0; stat("/proc/self/task", &tasks) == 0 && tasks.st_nlink > 3 && waited < 10000; ++waited)
            usleep(100);
    }

private:
    std::string root(int time) const { return (m_hosts.path() / (time == 0 ? "t0" : "t1")).string(); }

    void build(int time) const {
        namespace fs = std::filesystem;
        const std::string name = time == 0 ? "t0/" : "t1/";
        fs::copy(std::string(paths::fixtures) + "/linux-6.1.0/" + name, root(time), fs::copy_options::recursive);
        std::ofstream(root(time) + "/etc/mtab", std::ios::app)
            << "192.0.2.1:/export /mnt/nas nfs4 rw 0 0\nnas:/home /mnt/homes nfs rw 0 0\n";
        for (const char *port : {"host0", "host1"})
            writePort(name + "sys/class/fc_host/" + port + "/", time);
        m_hosts.write(name + "etc/sysconfig/hwconf",
                      "-\nclass: NETWORK\nbus: PCI\ndevice: eth0\ndesc: \"Example gigabit card\"\n-\nclass: CDROM\n"
                      "bus: IDE\ndevice: hdc\ndesc: \"Example reader\"\n-\n");
        m_hosts.write(name + "proc/pci", "PCI devices found:\n  Bus  0, device   0, function  0:\n"
                                         "    Host bridge: Example bridge (rev 1).\n");
        m_hosts.write(name + "proc/iomem", "00000000-0009fbff : System RAM\n00100000-bfffffff : System RAM\n");
    }

    void writePort(const std::string &directory, int time) const {
        m_hosts.write(directory + "port_name", "0x21000024ff123456\n");
        m_hosts.write(directory + "port_state", "Online\n");
        for (const char *file : {"input_megabytes", "output_megabytes", "input_requests", "output_requests"})
            m_hosts.write(directory + "statistics/fcp_" + file, time == 0 ? "0x64\n" : "0x6e\n");
    }

    // Two gigabytes everywhere, one user, no portmapper; outside commands do nothing, their answers are ready.
    static void answerForTheSystem() {
        systemHooks().statfs64 = [](const char *, struct statfs64 *status) {
            *status = {};
            status->f_bsize = 4096;
            status->f_blocks = 524288;
            status->f_bfree = status->f_bavail = 262144;
            return 0;
        };
        systemHooks().getpwuid = [](uid_t uid) {
            static passwd entry{};
            static char name[] = "owner";
            entry.pw_name = name;
            entry.pw_uid = uid;
            return &entry;
        };
        systemHooks().gethostbyname_r = [](const char *, hostent *, char *, size_t, hostent **result, int *) {
            *result = nullptr;
            return 0;
        };
        systemHooks().clntudpCreate = [](sockaddr_in *, unsigned long, unsigned long, timeval, int *) -> void * {
            return nullptr;
        };
        systemHooks().time = [] { return 1700000000; };
        // One thread at a time: a second stack beside one that is still ending would be kept for later.
        systemHooks().pthreadCreate = [](pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                                         void *argument) {
            waitForThreads();
            const auto own = std::exchange(systemHooks().pthreadCreate, nullptr);
            const int failure = pthread_create(thread, attributes, start, argument);
            systemHooks().pthreadCreate = own;
            return failure;
        };
        systemHooks().system = [](const char *) { return 0; };
        systemHooks().popen = [](const char *command, const char *) {
            return std::fopen(std::strstr(command, "iomem") != nullptr ? "iomem.answer" : "none.answer", "re");
        };
        std::ofstream("iomem.answer") << "2\n";
        std::ofstream("none.answer") << "0\n";
    }

    TempDirectory m_hosts;
    ScratchHome m_home;
    FrozenClock m_clock;
};
