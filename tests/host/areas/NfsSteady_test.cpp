// NFS in steady state and under hostile input: what a sample costs beside its files, and what becomes of broken ones.
#include "Mutation.h"
#include "NfsHost.h"
#include "SampledHost.h"
#include "SystemCalls.h"
#include "SystemHooks.h"
#include "host/areas/AreaReader.h"

#include <filesystem>

namespace {

using zel::Area;
using zel::Sample;

// The reader of a root, without the thread that it has in a sampler.
class NfsRoot {
public:
    void write(const std::string &path, const std::string &text) const { m_files.write(path, text); }
    const Sample &take() {
        const auto deadline = std::chrono::steady_clock::now() + m_options.deadline;
        zel::Take take{m_root, m_options, deadline, m_stat, m_loadAverage, m_sample};
        zel::beginArea(m_sample.area(Area::Nfs));
        m_reader->read(take);
        return m_sample;
    }

private:
    TempDirectory m_files;
    zel::Options m_options;
    zel::HostDirectory m_root{m_files.path().string()};
    zel::SharedSource m_stat{"proc/stat", zel::Records::One};
    zel::SharedSource m_loadAverage{"proc/loadavg", zel::Records::One};
    std::unique_ptr<zel::AreaReader> m_reader = zel::nfsReader();
    Sample m_sample;
};

TEST(NfsSteady, NothingIsAllocatedPerMount) {
    NfsRoot host;
    std::string text;
    for (int number = 0; number < 50; ++number)
        text += nfs::mount("server:/export/" + std::to_string(number),
                           "/mnt/a/rather/long/place/" + std::to_string(number));
    host.write("proc/self/mountstats", text);
    host.write("proc/net/rpc/nfs", "net 1 2 3 4\nrpc 5 6 7\nproc4 5 1 2 3 4 5\n");
    for (int warm = 0; warm < 3; ++warm)
        EXPECT_EQ(host.take().nfsMounts.size(), 50U);
    const long before = allocationsSoFar();
    for (int again = 0; again < 5; ++again)
        host.take();
    EXPECT_EQ(allocationsSoFar(), before);
}

TEST(NfsSteady, AHostWithoutNfsPaysForItOnceInAWhile) {
    if (std::filesystem::exists("/proc/net/rpc/nfs") || std::filesystem::exists("/proc/net/rpc/nfsd"))
        GTEST_SKIP() << "this host has NFS";
    const auto calls = [](int samples) {
        return systemCallsOf([samples] {
            zel::Sampler sampler({.areas = {Area::Nfs}});
            Sample sample;
            for (int number = 0; number < samples; ++number)
                sampler.take(sample);
        });
    };
    const long first = calls(2);
    if (first < 0)
        GTEST_SKIP() << "nobody may trace here";
    constexpr long samples = 10;
    EXPECT_LE((calls(2 + samples) - first) / samples, 4); // the clocks of processor time
}

TEST(NfsSteady, BrokenFilesEndInValuesAndReasons) {
    NfsRoot host;
    Mutation mutation(22);
    const std::string mounts = nfs::others + nfs::mount("s:/a", "/a") + nfs::mount("s:/b\\040b", "/b");
    const std::string counters =
        "rc 1 2 3\nra 32 1 2 3 4 5 6 7 8 9 10 11\nrpc 1 2 3 4 5\nproc3 3 1 2 3\nproc4ops 4 0 0 0 7\n";
    for (int round = 0; round < 200; ++round) {
        host.write("proc/self/mountstats", mutation.of(mounts));
        host.write("proc/net/rpc/nfsd", mutation.of(counters));
        const Sample &sample = host.take();
        for (const zel::NfsOperation &operation : sample.nfsOperations) {
            const auto isOfIt = [&](const zel::NfsMount &mount) {
                return mount.device == operation.device && mount.mountPoint == operation.mountPoint;
            };
            EXPECT_TRUE(std::any_of(sample.nfsMounts.begin(), sample.nfsMounts.end(), isOfIt)) << operation.operation;
        }
        for (const zel::NfsMount &mount : sample.nfsMounts) {
            for (const auto &field : zel::fieldsOf<zel::NfsMount>()) {
                const bool broken = field.of(mount).absence() == zel::Absence::Malformed;
                EXPECT_TRUE(!broken || sample.area(Area::Nfs).error != 0) << field.family.name;
            }
        }
    }
}

} // namespace
