// A host for the filesystem collector: a mount table and the sizes of its mount points, in a staged home. Every
// setting of the collector is back at its start value afterwards. Only for programs that link the collectors.
#pragma once

#include "CheckNfs.h"
#include "HostFixture.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <string>
#include <vector>

class FilesystemHost {
public:
    FilesystemHost() {
        systemHooks().statfs64 = [this](const char *path, struct statfs64 *status) { return answer(path, status); };
    }
    ~FilesystemHost() { systemHooks().statfs64 = nullptr; }
    FilesystemHost(const FilesystemHost &) = delete;
    FilesystemHost &operator=(const FilesystemHost &) = delete;

    /// Appends a line to the mount table, as the kernel writes it: escapes are the caller's.
    FilesystemHost &line(const std::string &device, const std::string &mountPoint, const std::string &type) {
        std::filesystem::create_directories(m_fixture.path() / "etc");
        std::ofstream(m_fixture.path() / "etc/mtab", std::ios::app)
            << device << " " << mountPoint << " " << type << " rw,relatime 0 0\n";
        return *this;
    }
    /// What statfs64 says of a mount point (unescaped).
    FilesystemHost &sized(const std::string &mountPoint, const struct statfs64 &status) {
        m_sizes[mountPoint] = status;
        return *this;
    }
    /// A mounted filesystem of 2 GB.
    FilesystemHost &mounted(const std::string &device, const std::string &mountPoint, const std::string &type) {
        return line(device, mountPoint, type).sized(mountPoint, twoGigabytes());
    }
    void removeTable() { m_fixture.remove("etc/mtab"); }
    void clearTable() { m_fixture.write("etc/mtab", ""); }

    const HostFixture &fixture() const { return m_fixture; }
    const ScratchHome &home() const { return m_home; }
    /// Mount points that statfs64 was asked for, in order. Only when no call is made any more.
    const std::vector<std::string> &measured() const { return m_measured; }
    std::string nfsList() const { return m_home.read("agent/aproc/shell/NFSList.dat"); }

    static struct statfs64 sizes(long blockSize, unsigned long blocks, unsigned long free, unsigned long available,
                                 unsigned long files = 0, unsigned long freeFiles = 0) {
        struct statfs64 status {};
        status.f_bsize = blockSize;
        status.f_blocks = blocks;
        status.f_bfree = free;
        status.f_bavail = available;
        status.f_files = files;
        status.f_ffree = freeFiles;
        return status;
    }
    /// 524288 blocks of 4096 bytes: 2097152 KB; half of it free, a quarter available; 1000 inodes, 900 free.
    static struct statfs64 twoGigabytes() { return sizes(4096, 524288, 262144, 131072, 1000, 900); }

    /// Fills a list of the settings.
    static void setList(char (&list)[FILESYSTEM_LIST_ENTRIES][FILESYSTEM_LIST_TEXT], int &count,
                        const std::vector<std::string> &entries) {
        std::memset(list, 0, sizeof(list));
        for (std::size_t i = 0; i < entries.size(); ++i)
            std::memcpy(reinterpret_cast<char *>(&list) + i * FILESYSTEM_LIST_TEXT, entries[i].data(),
                        entries[i].size());
        count = static_cast<int>(entries.size());
    }
    static void exclude(const std::vector<std::string> &types) {
        setList(g_strExcludeFilesystem, g_nExcludeFilesystemCnt, types);
    }
    static void include(const std::vector<std::string> &mountPoints) {
        setList(g_strIncludeFilesystem, g_nIncludeFilesystemCnt, mountPoints);
    }
    static void leaveOutOfTotals(const std::vector<std::string> &types) {
        setList(g_strTotExcludeFilesystem, g_nTotExcludeFilesystemCnt, types);
    }

private:
    int answer(const std::string &path, struct statfs64 *status) {
        const bool absolute = path.starts_with('/');
        if (absolute && !path.starts_with(g_strHostRoot)) {
            ADD_FAILURE() << path << " is outside the host";
            return -1;
        }
        const std::string mountPoint = absolute ? path.substr(std::strlen(g_strHostRoot)) : path;
        const std::lock_guard<std::mutex> lock(m_mutex); // mounts that may hang are asked by threads of their own
        m_measured.push_back(mountPoint);
        const auto found = m_sizes.find(mountPoint);
        if (found == m_sizes.end()) {
            errno = ENOENT;
            return -1;
        }
        *status = found->second;
        return 0;
    }

    HostFixture m_fixture;
    ScratchHome m_home;
    std::map<std::string, struct statfs64> m_sizes;
    std::mutex m_mutex;
    std::vector<std::string> m_measured;
};
