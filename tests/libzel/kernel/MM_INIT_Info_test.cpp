// The record of the kernel release, and which release the collectors follow.
#include "MM_INIT_Info.h"
#include "MM_LA_Info.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "kernel/KernelRelease.h"

#include <cerrno>
#include <cstdio>
#include <gtest/gtest.h>

namespace {

void expectRelease(const char *release, int major, int minor, int extra) {
    pretendKernelRelease(release);
    CMM_INIT_Info collector;
    EXPECT_EQ(collector.fMLinux_Major(), major) << release;
    EXPECT_EQ(collector.fMLinux_Minor(), minor) << release;
    EXPECT_EQ(CMM_INIT_Info::m_pstOsVersion->l_nExtraNum, extra) << release;
}

TEST(OsIdentity, ReleaseGivesItsFirstThreeNumbers) {
    expectRelease("2.6.32-754.el6.x86_64", 2, 6, 32);
    expectRelease("3.10.0-1160.el7.x86_64", 3, 10, 0);
    expectRelease("2.4.21-4.ELsmp", 2, 4, 21);
    expectRelease("2.6.9-5.EL", 2, 6, 9);
    expectRelease("5.4.0", 5, 4, 0);
}

TEST(OsIdentity, ComponentWithoutDigitsIsZero) {
    expectRelease("6.x.3", 6, 0, 0); // "x" is stepped over as the separator, the "." is then the third one
    expectRelease("", 0, 0, 0);
    expectRelease("generic", 0, 0, 0);
}

TEST(OsIdentity, ShortReleaseEndsTheWalk) {
    expectRelease("6", 6, 0, 0);
    expectRelease("6.1", 6, 1, 0);
    expectRelease("6.1-rc5", 6, 1, 0);
}

TEST(OsIdentity, ComponentIsCutToSevenDigits) {
    expectRelease("123456789.2.3", 1234567, 2, 3);
}

TEST(OsIdentity, TwoCollectorsShareOneReading) {
    int calls = 0;
    systemHooks().uname = [&calls](utsname *system) {
        ++calls;
        *system = {};
        std::snprintf(system->release, sizeof(system->release), "6.1.0");
        return 0;
    };
    CMM_INIT_Info first;
    const _ST_OS_VERSION *record = CMM_INIT_Info::m_pstOsVersion;
    {
        CMM_LA_Info second;
        EXPECT_EQ(CMM_INIT_Info::m_nNObjs, 2);
        EXPECT_EQ(CMM_INIT_Info::m_pstOsVersion, record);
    }
    EXPECT_EQ(CMM_INIT_Info::m_nNObjs, 1);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(first.fMLinux_Major(), 6);
}

TEST(OsIdentity, NewCollectorAfterTheLastReadsTheReleaseAgain) {
    pretendKernelRelease("2.4.21");
    { CMM_INIT_Info collector; }
    EXPECT_EQ(CMM_INIT_Info::m_nNObjs, 0);
    expectRelease("6.1.0", 6, 1, 0);
}

TEST(OsIdentity, SecondReadingFillsTheSameRecord) {
    pretendKernelRelease("2.4.21");
    CMM_INIT_Info collector;
    const _ST_OS_VERSION *record = CMM_INIT_Info::m_pstOsVersion;
    pretendKernelRelease("6.1.7");

    EXPECT_EQ(collector.fMGetVersion(), 1);

    EXPECT_EQ(CMM_INIT_Info::m_pstOsVersion, record);
    EXPECT_EQ(record->l_nMajorNum, 6);
    EXPECT_EQ(record->l_nExtraNum, 7);
}

TEST(OsIdentity, FailedUnameGivesZeroAndAnEmptyRecord) {
    systemHooks().uname = [](utsname *) {
        errno = EFAULT;
        return -1;
    };
    CMM_INIT_Info collector;
    EXPECT_EQ(collector.fMInit(), 0);
    EXPECT_EQ(collector.fMLinux_Major(), 0);
    EXPECT_EQ(collector.fMLinux_Minor(), 0);
}

TEST(OsIdentity, NoMemoryForTheRecordGivesZero) {
    systemHooks().failAllocationAfter = 0;
    CMM_INIT_Info collector;
    EXPECT_EQ(collector.fMLinux_Major(), 0);
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(collector.fMGetVersion(), 0);
    EXPECT_EQ(collector.fMGetVersion(), 1);
}

std::pair<int, int> rulingOn(const char *release) {
    pretendKernelRelease(release);
    const CMM_INIT_Info collector;
    const zel::KernelRelease ruling = zel::rulingRelease(collector);
    EXPECT_EQ(collector.fMLinux_Major(), CMM_INIT_Info::m_pstOsVersion->l_nMajorNum) << "the record stays as it is";
    return {ruling.major, ruling.minor};
}

using Release = std::pair<int, int>;

TEST(KernelRule, ByTheLetterIsTheDefault) {
    EXPECT_EQ(rulingOn("5.4.0"), Release(5, 4));
    EXPECT_EQ(rulingOn("6.1.0"), Release(6, 1));
    EXPECT_EQ(rulingOn("2.4.21"), Release(2, 4));
    const SettingGuard rule(g_nKernelRule, 2);
    EXPECT_EQ(rulingOn("5.4.0"), Release(5, 4)) << "only 1 is the other rule";
}

TEST(KernelRule, EveryReleaseFrom26OnCountsAs26) {
    const SettingGuard rule(g_nKernelRule, 1);
    for (const char *release : {"2.6.0", "2.6.32-754.el6", "2.7.1", "3.0.101", "4.4.0", "5.4.0", "6.1.0", "7.0.0"})
        EXPECT_EQ(rulingOn(release), Release(2, 6)) << release;
}

TEST(KernelRule, OlderAndUnknownReleasesStay) {
    const SettingGuard rule(g_nKernelRule, 1);
    EXPECT_EQ(rulingOn("2.5.75"), Release(2, 5));
    EXPECT_EQ(rulingOn("2.4.21-4.ELsmp"), Release(2, 4));
    EXPECT_EQ(rulingOn("1.9.0"), Release(1, 9));
    EXPECT_EQ(rulingOn("generic"), Release(0, 0));
}

} // namespace
