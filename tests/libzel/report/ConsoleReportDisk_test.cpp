// The console reports of the disks, and option 5 of the driver.
#include "ConsoleReport.h"

#include "DiskTest.h"
#include "DriverRun.h"
#include "StreamCapture.h"
#include "TempDirectory.h"

#include <cstring>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class DiskReport : public DiskTest {
protected:
    std::string reported(int expectedResult) {
        clock.advance(SECONDS);
        const StreamCapture streams;
        EXPECT_EQ(print_io_v2(&disks, 1.0), expectedResult);
        EXPECT_EQ(streams.out(), "");
        return streams.err();
    }

    CMM_IO_Info disks;
};

TEST_F(DiskReport, OneLineForEveryDisk) {
    host.show("linux-6.1.0/t0");
    reported(1);
    host.show("linux-6.1.0/t1");
    EXPECT_EQ(reported(1),
              " Io  000:  0.00([R]cnt/s)  0.00([W]cnt/s)  0.00([R]kb/s)  0.00([W]kb/s)  0.00(Busy) /dev/loop0     \n"
              " Io  001: 80.00([R]cnt/s) 40.00([W]cnt/s) 320.00([R]kb/s) 1600.00([W]kb/s) 50.00(Busy) /dev/nvme0n1   \n"
              " Io  002: 20.00([R]cnt/s)  0.00([W]cnt/s) 80.00([R]kb/s)  0.00([W]kb/s)  0.00(Busy) /dev/nvme0n1p1 \n"
              " Io  003: 60.00([R]cnt/s) 40.00([W]cnt/s) 240.00([R]kb/s) 1600.00([W]kb/s) 48.20(Busy) /dev/nvme0n1p2 \n"
              " Io  004:  2.00([R]cnt/s)  0.00([W]cnt/s)  8.00([R]kb/s)  0.00([W]kb/s)  1.00(Busy) /dev/vda       \n"
              " Io  005:  0.00([R]cnt/s)  0.00([W]cnt/s)  0.00([R]kb/s)  0.00([W]kb/s)  0.00(Busy) /dev/vdb       \n"
              " Io  006:  4.00([R]cnt/s)  6.00([W]cnt/s) 16.00([R]kb/s) 24.00([W]kb/s)  0.10(Busy) /dev/zram0     \n");
}

TEST_F(DiskReport, WithoutASampleNothingIsPrinted) {
    EXPECT_EQ(reported(-1), "");
    EXPECT_EQ(print_io_v2(nullptr, 1.0), -1);
}

TEST_F(DiskReport, SampleWithoutDisksPrintsNothing) {
    host.write("proc/diskstats", "");
    EXPECT_EQ(reported(1), "");
}

// An escape that clears the screen, and one that sets the title of the window.
constexpr const char *hostileLine =
    "   8       0 sda\x1b[2J\x1b]0;x\x07\x7f\x9b\xc2\x9b\xc3\xa4 10 0 20 0 30 0 40 0 0 50 0\n";

TEST_F(DiskReport, ControlBytesOfANameArePrintedAsBlanks) {
    host.write("proc/diskstats", hostileLine);
    EXPECT_EQ(reported(1), " Io  000:  0.00([R]cnt/s)  0.00([W]cnt/s)  0.00([R]kb/s)  0.00([W]kb/s)  0.00(Busy) "
                           "/dev/sda [2J ]0;x     \xc3\xa4\n");
}

TEST_F(DiskReport, PerformanceTextKeepsTheNameAsItIs) {
    g_nDiskStrType = 1;
    sampleText(disks, hostileLine);
    sampleText(disks, hostileLine);
    EXPECT_THAT(poll(disks), HasSubstr("/dev/sda\x1b[2J\x1b]0;x\x07\x7f\x9b\xc2\x9b\xc3\xa4~"));
}

TEST(OldDiskReport, VolumesOfEveryRecord) {
    CSSList list;
    _ST_DISKIO disk{};
    std::strcpy(disk.l_strDEVname, "/dev/sda");
    disk.l_dWrite_B = 1.5;
    disk.l_dRead_B = 1234.567;
    list.fSlInsertFifo(&disk, sizeof(disk), nullptr);
    std::strcpy(disk.l_strDEVname, "/dev/a-name-beyond-15");
    list.fSlInsertFifo(&disk, sizeof(disk), nullptr);
    {
        const StreamCapture streams;
        EXPECT_EQ(print_io(&list), 1);
        EXPECT_EQ(streams.err(), " Io  000:  1.50 1234.57 /dev/sda       \n"
                                 " Io  001:  1.50 1234.57 /dev/a-name-beyond-15\n");
        EXPECT_EQ(streams.out(), "");
    }
    list.fSlDeleteAll();
    EXPECT_EQ(print_io(&list), 1);
    EXPECT_EQ(print_io(nullptr), 0);
}

TEST(OldDiskReport, ControlBytesOfANameArePrintedAsBlanks) {
    CSSList list;
    _ST_DISKIO disk{};
    std::strcpy(disk.l_strDEVname, "/dev/\x1b[31m\n\x9b+\xc2\x9bK\xe2\x82\xac");
    list.fSlInsertFifo(&disk, sizeof(disk), nullptr);
    const StreamCapture streams;
    EXPECT_EQ(print_io(&list), 1);
    EXPECT_EQ(streams.err(), " Io  000:  0.00  0.00 /dev/ [31m  +  K\xe2\x82\xac\n");
    list.fSlDeleteAll();
}

// Cycles of 5 seconds: sda made 250 reads, 125 writes, 20000 and 5000 sectors, and was busy for 1250 ms.
TEST(DiskDriver, OptionFivePrintsTheRatesOfEveryDisk) {
    DriverRun driver;
    driver.hosts({"linux-2.6.32/t0", "linux-2.6.32/t1"}).kernelRelease("2.6.32-754.el6.x86_64").frozenClock();
    const DriverResult result = driver.run({"5", "5", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr(" Io  002: 50.00([R]cnt/s) 25.00([W]cnt/s) 2000.00([R]kb/s) 500.00([W]kb/s) "
                                      "25.00(Busy) /dev/sda       \n"));
}

TEST(DiskDriver, OptionFiveSendsNoEscapeToTheTerminal) {
    const TempDirectory hosts;
    hosts.write("host/proc/diskstats", hostileLine);
    DriverRun driver;
    driver.hostDirectories({(hosts.path() / "host").string()}).kernelRelease("6.1.0").frozenClock();
    const DriverResult result = driver.run({"5", "1", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("/dev/sda [2J ]0;x     \xc3\xa4\n"));
    EXPECT_EQ(result.err.find('\x1b'), std::string::npos);
}

} // namespace
