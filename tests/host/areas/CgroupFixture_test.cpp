// Control groups as a kernel with every controller wrote them, at two moments.
#include "Paths.h"
#include "SampledHost.h"
#include "host/Rates.h"

namespace {

using zel::Absence;
using zel::Area;

const std::string containerId = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
const std::string containerPath = "/system.slice/docker-" + containerId + ".scope";

zel::Sample momentOf(const char *moment, std::int64_t seconds) {
    zel::Sampler sampler(
        {.root = std::string(paths::fixtures) + "/linux-6.1-cgroups/" + moment, .areas = {Area::Cgroups}});
    zel::Sample sample = sampler.take();
    sample.area(Area::Cgroups).monotonicNanoseconds = seconds * 1000000000;
    return sample;
}

template<class Row> const Row &rowOf(const zel::Rows<Row> &rows, const std::string &path) {
    static const Row none{};
    for (const Row &row : rows) {
        if (row.path == path)
            return row;
    }
    ADD_FAILURE() << path;
    return none;
}

// By hand, from the texts.
TEST(CgroupFixture, HasTheNumbersOfItsFiles) {
    const zel::Sample sample = momentOf("t0", 0);
    EXPECT_EQ(failureOf(sample, Area::Cgroups), NO_FAILURE);
    ASSERT_EQ(sample.cgroups.size(), 5U);
    EXPECT_TRUE(holds(sample.cgroupTotals.controllers, "cpuset cpu io memory hugetlb pids rdma misc"));
    const zel::Cgroup &web = rowOf(sample.cgroups, "/system.slice/web.service");
    EXPECT_TRUE(holds(web.unitType, "service"));
    EXPECT_TRUE(holds(web.cpuUsageSeconds, 3.338531));
    EXPECT_TRUE(holds(web.cpuThrottledPeriods, 162));
    EXPECT_TRUE(holds(web.cpuLimit, 0.2));
    EXPECT_TRUE(holds(web.cpuWeight, 200));
    EXPECT_TRUE(holds(web.memoryMax, 64 << 20));
    EXPECT_TRUE(holds(web.memoryHigh, 48 << 20));
    EXPECT_TRUE(holds(web.pidsMax, 4));
    EXPECT_TRUE(holds(web.pidsLimitHits, 1));
    EXPECT_TRUE(holds(web.populated, 1));
    const zel::Cgroup &container = rowOf(sample.cgroups, containerPath);
    EXPECT_TRUE(holds(container.container, containerId));
    EXPECT_TRUE(holds(container.oomKills, 1));
    EXPECT_TRUE(holds(container.memoryMaxEvents, 53));
    EXPECT_TRUE(holds(container.memoryLow, 4 << 20));
    EXPECT_TRUE(lacks(container.cpuLimit, Absence::Unsupported)) << "max";
    EXPECT_TRUE(holds(container.ioWrittenBytes, 18350080));
    EXPECT_TRUE(holds(rowOf(sample.cgroups, "/system.slice/idle.service").populated, 0));
    const zel::Cgroup &root = rowOf(sample.cgroups, "/");
    EXPECT_TRUE(lacks(root.memoryCurrent, Absence::Unsupported)) << "the root has no such file";
    EXPECT_TRUE(holds(root.descendants, 4));
    const zel::CgroupDevice &disk = rowOf(sample.cgroupDevices, containerPath);
    EXPECT_EQ(disk.device, "259:0");
    EXPECT_TRUE(holds(disk.name, "nvme0n1"));
    EXPECT_TRUE(holds(disk.reads, 140));
}

TEST(CgroupFixture, RatesAreTheGrowthBetweenItsMoments) {
    const zel::Sample before = momentOf("t0", 100), now = momentOf("t1", 110);
    const zel::Rates rates = zel::between(before, now);
    const auto web = [&](const char *counter) {
        return rates.perSecond("cgroups", counter, "/system.slice/web.service").valueOr(-1);
    };
    EXPECT_NEAR(web("cpu_usage_seconds_total"), (5.485002 - 3.338531) / 10, 1e-9);
    EXPECT_NEAR(web("cpu_throttled_periods_total"), (266 - 162) / 10.0, 1e-9);
    EXPECT_NEAR(web("cpu_throttled_seconds_total"), (23.504450 - 15.715253) / 10, 1e-9);
    EXPECT_EQ(web("pids_limit_hits_total"), 0);
    EXPECT_NEAR(rates.perSecond("cgroup_devices", "written_bytes_total", containerPath).valueOr(-1),
                (31457280 - 18350080) / 10.0, 1e-6);
}

TEST(CgroupFixture, AnotherInodeUnderTheSamePathStartsAnew) {
    zel::Sample before = momentOf("t0", 100), now = momentOf("t1", 110);
    for (auto *sample : {&before, &now}) {
        for (zel::Cgroup &cgroup : sample->cgroups)
            cgroup.inode = sample == &now && cgroup.path == "/system.slice/web.service" ? 8 : 7;
        for (zel::CgroupDevice &device : sample->cgroupDevices)
            device.inode = sample == &now && device.path == containerPath ? 8 : 7;
    }
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(
        lacks(rates.perSecond("cgroups", "cpu_usage_seconds_total", "/system.slice/web.service"), Absence::NotYet));
    EXPECT_TRUE(rates.perSecond("cgroups", "cpu_usage_seconds_total", "/system.slice").has());
    EXPECT_TRUE(lacks(rates.perSecond("cgroup_devices", "reads_total", containerPath), Absence::NotYet));
    EXPECT_TRUE(rates.perSecond("cgroup_devices", "reads_total", "/system.slice").has());
}

} // namespace
