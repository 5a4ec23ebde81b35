// The counters of virtual memory, by the kernel's own names.
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

TEST(VmReader, NamesOfTheKernelAreTheFields) {
    SampledHost host(Area::Vm, {{"proc/vmstat", "nr_free_pages 6000000\npgpgin 5\npswpin 1\npgfault 900\n"
                                                "pgmajfault 30\noom_kill 2\nnr_name_of_tomorrow 3\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.vm.nrFreePages, 6000000U));
    EXPECT_TRUE(holds(sample.vm.pgpgin, 5U));
    EXPECT_TRUE(holds(sample.vm.pswpin, 1U));
    EXPECT_TRUE(holds(sample.vm.pgfault, 900U));
    EXPECT_TRUE(holds(sample.vm.pgmajfault, 30U));
    EXPECT_TRUE(holds(sample.vm.oomKill, 2U));
    EXPECT_TRUE(lacks(sample.vm.pswpout, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.vm.unknownLines, 1U));
    ASSERT_EQ(sample.vmOthers.size(), 1U);
    EXPECT_EQ(sample.vmOthers[0].key, "nr_name_of_tomorrow");
    EXPECT_TRUE(holds(sample.vmOthers[0].value, 3U));
    EXPECT_EQ(failureOf(sample, Area::Vm), NO_FAILURE);
}

TEST(VmReader, NamesOfOldKernelsAreKnown) {
    SampledHost host(Area::Vm, {{"proc/vmstat", "pgsteal_kswapd_dma 1\npgscan_direct_normal 2\nallocstall 3\n"
                                                "kswapd_inodesteal 4\nnr_unstable 5\nworkingset_refault 6\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.vm.pgstealKswapdDma, 1U));
    EXPECT_TRUE(holds(sample.vm.pgscanDirectNormal, 2U));
    EXPECT_TRUE(holds(sample.vm.allocstall, 3U));
    EXPECT_TRUE(holds(sample.vm.kswapdInodesteal, 4U));
    EXPECT_TRUE(holds(sample.vm.nrUnstable, 5U));
    EXPECT_TRUE(holds(sample.vm.workingsetRefault, 6U));
    EXPECT_TRUE(holds(sample.vm.unknownLines, 0U));
}

TEST(VmReader, FieldsThatCountLinesHaveNoLineOfTheirOwn) {
    SampledHost host(Area::Vm, {{"proc/vmstat", "pgfault 1\nunknown_lines 77\n"}});
    EXPECT_TRUE(holds(host.take().vm.unknownLines, 1U));
}

TEST(VmReader, DamagedNumbersAreMalformed) {
    SampledHost host(Area::Vm, {{"proc/vmstat", "pgfault 9x\npgmajfault -1\npgfree 99999999999999999999\npgpgin\n"
                                                "pgpgout 18446744073709551615"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.vm.pgfault, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.vm.pgmajfault, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.vm.pgfree, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.vm.pgpgin, Absence::Malformed)) << "nothing of the next line";
    EXPECT_TRUE(holds(sample.vm.pgpgout, 18446744073709551615U)) << "the last line needs no line feed";
    EXPECT_EQ(failureOf(sample, Area::Vm), std::pair(EBADMSG, std::string("proc/vmstat")));
}

TEST(VmReader, WithoutAKnownNameTheAreaIsLost) {
    SampledHost host({Area::Vm});
    EXPECT_EQ(failureOf(host.take(), Area::Vm), std::pair(ENOENT, std::string("proc/vmstat")));
    for (const char *text : {"", "\n", "x 1\n"}) {
        host.write("proc/vmstat", text);
        EXPECT_TRUE(lacks(host.take().vm.pgfault, Absence::Malformed)) << text;
        EXPECT_EQ(failureOf(host.take(), Area::Vm), std::pair(EBADMSG, std::string("proc/vmstat"))) << text;
    }
}

} // namespace
