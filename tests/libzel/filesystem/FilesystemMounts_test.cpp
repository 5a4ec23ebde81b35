// The collector over real mounts, in a mount table of the test's own.
#include "Isolated.h"
#include "MM_FS_Info.h"
#include "ScratchHome.h"
#include "Settings.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/mount.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

namespace {

namespace fs = std::filesystem;

constexpr int manyMounts = 1000;

bool bindMount(const fs::path &source, const fs::path &target) {
    fs::create_directories(target);
    return mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

// What every bind mount shows is the filesystem of its source; it must be large enough to be reported.
bool largeEnough(const fs::path &directory) {
    struct statvfs status {};
    return statvfs(directory.c_str(), &status) == 0 &&
           static_cast<double>(status.f_blocks) * static_cast<double>(status.f_frsize) > 2e9;
}

// True when the mount table of this process is what /etc/mtab shows.
bool tableIsOwn() {
    std::error_code none;
    return fs::canonical("/etc/mtab", none).filename() == "mounts";
}

TEST(FilesystemMounts, AThousandAreAllReported) {
    ScratchHome home;
    if (!tableIsOwn() || !largeEnough(home.path()))
        GTEST_SKIP() << "needs /etc/mtab to be the kernel's table and a temporary directory on 2 GB";
    struct Result {
        int mounted;
        int records;
        int rows;
        int wrongSizes;
        unsigned long endMarker;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [&home](Result &out) {
        const fs::path source = home.path() / "source";
        fs::create_directories(source);
        for (int i = 0; i < manyMounts; ++i)
            out.mounted += bindMount(source, home.path() / "m" / std::to_string(i)) ? 1 : 0;

        CMM_FS_Info collector;
        const std::string prefix = (home.path() / "m").string() + "/";
        struct statvfs status {};
        statvfs(source.c_str(), &status);
        const double kilobytes = static_cast<double>(status.f_blocks) * static_cast<double>(status.f_frsize) / 1024.0;
        if (collector.fMGetFileSys() == nullptr)
            return;
        while (const _ST_FS *record = collector.fMGetFileSysNext()) {
            if (!std::string(record->l_strFSname).starts_with(prefix))
                continue;
            ++out.records;
            const double difference = static_cast<double>(record->l_ulTotDskSize) - kilobytes;
            out.wrongSizes += difference > kilobytes * 1e-6 || difference < -kilobytes * 1e-6 ? 1 : 0;
        }
        collector.fGetFileSystem();
        const std::string text = collector.fGetFSInfo();
        for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at + 1))
            ++out.rows;
        out.endMarker = text.size() - text.rfind("torv_token_end");
    }));

    EXPECT_EQ(result.mounted, manyMounts);
    EXPECT_EQ(result.records, manyMounts);
    EXPECT_EQ(result.wrongSizes, 0);
    EXPECT_EQ(result.rows, manyMounts);
    EXPECT_EQ(result.endMarker, std::strlen("torv_token_end"));
}

TEST(FilesystemMounts, OddNamesSurviveTheKernelsEscapes) {
    ScratchHome home;
    if (!tableIsOwn() || !largeEnough(home.path()))
        GTEST_SKIP() << "needs /etc/mtab to be the kernel's table and a temporary directory on 2 GB";
    const std::vector<std::string> names = {"with blank",    "tab\tfeed\nback\\slash", "#hash",       "octal\\040",
                                            "\x01\x03\x1F|", "\xC3\xA4\xFF",           "quote\"'$(x)"};
    fs::path longName = home.path() / "m" / std::string(200, 'l') / std::string(200, 'l') / std::string(200, 'l');
    longName /= std::string(200, 'l');
    longName /= std::string(1000 - longName.string().size() - 1, 'l');
    struct Result {
        int mounted;
        int found;
        bool longFound;
    } result{};
    ASSERT_RAN_ISOLATED(runIsolated<Result>(result, [&](Result &out) {
        const fs::path source = home.path() / "source";
        fs::create_directories(source);
        for (const std::string &name : names)
            out.mounted += bindMount(source, home.path() / "m" / name) ? 1 : 0;
        out.mounted += bindMount(source, longName) ? 1 : 0;

        CMM_FS_Info collector;
        CObjectBuffer *records = collector.fMGetFileSys();
        if (records == nullptr)
            return;
        for (const std::string &name : names)
            out.found += records->fGetObject((home.path() / "m" / name).c_str()) != nullptr ? 1 : 0;
        out.longFound = records->fGetObject(longName.c_str()) != nullptr;
    }));

    ASSERT_EQ(longName.string().size(), 1000U);
    EXPECT_EQ(result.mounted, static_cast<int>(names.size()) + 1);
    EXPECT_EQ(result.found, static_cast<int>(names.size()));
    EXPECT_TRUE(result.longFound);
}

} // namespace
