// The console report, and option 4 of the driver.
#include "ConsoleReport.h"
#include "DriverRun.h"
#include "FilesystemHost.h"
#include "MM_FS_Info.h"
#include "StreamCapture.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>

namespace {

TEST(FilesystemReport, PrintsALinePerFilesystemOnStandardError) {
    FilesystemHost host;
    host.line("/dev/sda1", "/", "ext4").sized("/", FilesystemHost::sizes(4096, 262144, 131072, 65536, 8, 5));
    host.mounted("/dev/sda2", "/data", "xfs");
    CMM_FS_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_fs_v2(&collector), 1);

    // The first: 1048576 KB, half free, a quarter available: 524288 of 786432 are 66.67 percent; 3 of 8 inodes.
    EXPECT_EQ(streams.err(),
              " Fs  000: 1048576(T)  524288(U)  524288(F) 66.67 | 8(T) 3(U) 5(F) 5(A)37.50 | / ext4 /dev/sda1\n"
              " Fs  001: 2097152(T) 1048576(U) 1048576(F) 66.67 | 1000(T) 100(U) 900(F) 900(A)10.00 | /data xfs "
              "/dev/sda2\n");
    EXPECT_EQ(streams.out(), "");
}

TEST(FilesystemReport, PrintsNothingWithoutAFilesystem) {
    FilesystemHost host;
    host.clearTable();
    CMM_FS_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_fs_v2(&collector), -1);
    host.removeTable();
    EXPECT_EQ(print_fs_v2(&collector), -1);

    EXPECT_EQ(streams.err(), "");
    EXPECT_EQ(streams.out(), "");
}

TEST(FilesystemReport, ControlBytesOfNamesArePrintedAsBlanks) {
    FilesystemHost host;
    host.line("/dev/\x1b[2J\x9b\xc2\x9bsd\xc3\x9b", "/a\\012\\011b", "e\x03\x1Ft")
        .sized("/a\n\tb", FilesystemHost::twoGigabytes());
    CMM_FS_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_fs_v2(&collector), 1);

    const std::string line = streams.err();
    EXPECT_TRUE(line.ends_with(" | /a  b e  t /dev/ [2J   sd\xc3\x9b\n")) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
}

TEST(FilesystemReport, TheSecondReportDoesNothing) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    CMM_FS_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_fs_v3(&collector), 1);
    EXPECT_EQ(print_fs_v3(nullptr), 1);
    EXPECT_EQ(streams.err(), "");
    EXPECT_TRUE(host.measured().empty());
}

// The driver measures the filesystem that the fixture directory is on.
TEST(FilesystemReport, OptionFourOfTheDriverReportsTheHost) {
    const TempDirectory host;
    host.write("etc/mtab", "/dev/disk / ext4 rw 0 0\nproc /proc proc rw 0 0\ntmpfs /run tmpfs rw 0 0\n"
                           "filer:/x /home nfs rw 0 0\n");
    host.write("home/.keep", "");
    host.write("run/.keep", "");
    host.write("proc/.keep", "");
    struct statvfs status {};
    ASSERT_EQ(statvfs(host.path().c_str(), &status), 0);
    const auto kilobytes = static_cast<double>(status.f_blocks) * static_cast<double>(status.f_frsize) / 1024.0;
    if (kilobytes < 2e6)
        GTEST_SKIP() << "the temporary directory lies on a filesystem of less than 2 GB";

    DriverRun driver;
    const DriverResult result = driver.hostDirectories({host.path().string()}).frozenClock().run({"4", "1", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    // Two cycles, each one line: proc and tmpfs are excluded, the NFS mount is only listed.
    std::vector<std::string> lines;
    std::istringstream text(result.err);
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 4U) << result.err;
    EXPECT_EQ(lines[0], "////////////////[ 1 ]/////////////////// ");
    EXPECT_EQ(lines[2], "////////////////[ 2 ]/////////////////// ");
    for (const std::size_t i : {1U, 3U}) {
        unsigned long long total = 0;
        ASSERT_EQ(std::sscanf(lines[i].c_str(), " Fs  000: %llu(T)", &total), 1) << lines[i];
        EXPECT_NEAR(static_cast<double>(total), kilobytes, kilobytes * 1e-6); // single precision
        EXPECT_TRUE(lines[i].ends_with(" | / ext4 /dev/disk")) << lines[i];
    }
    EXPECT_EQ(driver.home().read("agent/aproc/shell/NFSList.dat"), "/home|filer:/x\n");
}

} // namespace
