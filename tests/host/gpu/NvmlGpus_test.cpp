// NVIDIA's library that hangs, fails, is of another version or is not there: the sample comes in time, with everything
// else in it.
#include "NvmlStandIn.h"
#include "Paths.h"
#include "SampledHost.h"
#include "ThreadWatch.h"
#include "threads/BoundedCall.h"

#include <cerrno>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Sample;
using zel::Sampler;

constexpr double slowSeconds = 8; // on a machine that does other things

// The short deadline is for what hangs; what answers has the time that a busy machine needs.
zel::Options gpusAndLoad(const std::string &library, std::chrono::milliseconds deadline = 300ms) {
    return {.areas = {Area::Gpus, Area::Load}, .deadline = deadline, .gpuLibrary = library};
}

double takeSeconds(Sampler &sampler, Sample &sample) {
    const auto start = std::chrono::steady_clock::now();
    sampler.take(sample);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void expectSilence(Sampler &sampler, Sample &sample, const ThreadWatch &threads) {
    double silent = 0;
    for (int again = 0; again < 5; ++again) {
        EXPECT_LT(takeSeconds(sampler, sample), slowSeconds);
        EXPECT_EQ(sample.area(Area::Gpus).absence, Absence::TimedOut);
        EXPECT_EQ(failureOf(sample, Area::Gpus), std::pair(ETIMEDOUT, std::string(paths::nvml)));
        EXPECT_GT(sample.area(Area::Gpus).silentSeconds, silent);
        silent = sample.area(Area::Gpus).silentSeconds;
        EXPECT_TRUE(sample.gpus.empty());
        EXPECT_TRUE(sample.load.load1.has());
        EXPECT_EQ(threads.running(), 1);
    }
}

// After the hang; a call that comes too late is no answer, the next one is.
void expectAnswer(Sampler &sampler, Sample &sample) {
    for (int again = 0; again < 1000 && sample.gpus.empty(); ++again) {
        std::this_thread::sleep_for(10ms);
        sampler.take(sample);
    }
    ASSERT_EQ(sample.gpus.size(), 2U);
    EXPECT_EQ(sample.area(Area::Gpus).absence, Absence::None);
    EXPECT_EQ(sample.area(Area::Gpus).silentSeconds, 0);
    EXPECT_TRUE(holds(sample.gpus[1].memoryTotalBytes, 81000));
}

TEST(NvmlGpus, ThatHangWhenTheLibraryStartsAreTimedOut) {
    const NvmlStandIn library;
    const ThreadWatch threads;
    Sampler sampler(gpusAndLoad(paths::nvml));
    Sample sample;
    library.answers("nvmlInit_v2 hang");
    expectSilence(sampler, sample, threads);
    library.answers("");
    expectAnswer(sampler, sample);
}

TEST(NvmlGpus, ThatHangLaterAreTimedOutUntilTheyAnswer) {
    const NvmlStandIn library;
    const ThreadWatch threads;
    Sampler sampler(gpusAndLoad(paths::nvml));
    Sample sample;
    expectAnswer(sampler, sample);
    library.answers("nvmlDeviceGetPowerUsage@1 hang");
    expectSilence(sampler, sample, threads);
    library.answers("");
    expectAnswer(sampler, sample);
}

TEST(NvmlGpus, ThatHangKeepNobodyFromGivingTheSamplerUp) {
    const NvmlStandIn library;
    const ThreadWatch threads;
    library.answers("nvmlDeviceGetName hang");
    const auto start = std::chrono::steady_clock::now();
    {
        Sampler sampler(gpusAndLoad(paths::nvml));
        sampler.take();
    }
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), slowSeconds);
    library.answers("");
}

TEST(NvmlGpus, ThatHangWhenTheLibraryEndsKeepNobodyEither) {
    const NvmlStandIn library;
    const ThreadWatch threads;
    library.answers("nvmlShutdown hang");
    {
        Sampler sampler(gpusAndLoad(paths::nvml, 60s));
        EXPECT_EQ(sampler.take().gpus.size(), 2U);
    }
    EXPECT_EQ(threads.running(), 1);
    library.answers("");
}

// The area, while the library starts with this result.
void expectFailure(const std::string &lines, const std::string &library, int error, Absence reason) {
    const NvmlStandIn standIn;
    standIn.answers(lines);
    Sampler sampler(gpusAndLoad(library, 60s));
    Sample sample = sampler.take();
    EXPECT_EQ(failureOf(sample, Area::Gpus), std::pair(error, library)) << lines;
    EXPECT_EQ(sample.area(Area::Gpus).absence, reason) << lines;
    EXPECT_TRUE(sample.load.load1.has());
    // It is left alone for half a minute: no thread, the same answer.
    standIn.answers("");
    const ThreadWatch threads;
    sampler.take(sample);
    EXPECT_EQ(threads.started(), 0) << lines;
    EXPECT_EQ(failureOf(sample, Area::Gpus), std::pair(error, library)) << lines;
    EXPECT_EQ(sample.area(Area::Gpus).absence, reason) << lines;
}

TEST(NvmlGpus, OfALibraryThatDoesNotStartHaveItsReason) {
    expectFailure("nvmlInit_v2 !18", paths::nvml, ELIBBAD, Absence::Malformed);      // of another version
    expectFailure("nvmlInit_v2 !9", paths::nvml, EOPNOTSUPP, Absence::Unsupported);  // the driver is not loaded
    expectFailure("nvmlInit_v2 !4", paths::nvml, EPERM, Absence::Denied);            // no permission
    expectFailure("nvmlInit_v2 !10", paths::nvml, ETIMEDOUT, Absence::TimedOut);     // timeout
    expectFailure("nvmlInit_v2 !999", paths::nvml, EIO, Absence::Malformed);         // unknown
    expectFailure("nvmlDeviceGetCount !1", paths::nvml, EIO, Absence::Malformed);    // not initialised
    expectFailure("nvmlDeviceGetCount !15", paths::nvml, ENODEV, Absence::Vanished); // lost
}

TEST(NvmlGpus, WithoutALibraryAreUnsupported) {
    expectFailure("", "/there/is/no/libnvidia-ml.so.1", ENOENT, Absence::Unsupported);
    expectFailure("", "libzel-there-is-none.so.1", ENOENT, Absence::Unsupported);
}

TEST(NvmlGpus, OfAnotherLibraryAreMalformed) {
    expectFailure("", "libm.so.6", ELIBBAD, Absence::Malformed);
    const TempDirectory directory;
    expectFailure("", directory.write("libnvidia-ml.so.1", "no library at all"), ELIBACC, Absence::Malformed);
}

TEST(NvmlGpus, AreNotReadBelowARootDirectory) {
    const NvmlStandIn library;
    const TempDirectory root;
    Sampler sampler({.root = root.path().string(), .areas = {Area::Gpus}, .gpuLibrary = paths::nvml});
    const Sample sample = sampler.take();
    EXPECT_TRUE(sample.gpus.empty());
    EXPECT_EQ(failureOf(sample, Area::Gpus), std::pair(ENOENT, std::string("sys/class/drm")));
}

TEST(NvmlGpus, WithoutADriverCostNoThread) {
    if (std::filesystem::exists("/proc/driver/nvidia/version") || std::filesystem::exists("/dev/nvidiactl") ||
        std::filesystem::exists("/dev/dxg") || std::filesystem::exists("/sys/class/drm"))
        GTEST_SKIP() << "this host has a GPU";
    const ThreadWatch threads;
    Sampler sampler({.areas = {Area::Gpus}});
    EXPECT_EQ(sampler.take().area(Area::Gpus).absence, Absence::Unsupported);
    EXPECT_EQ(threads.started(), 0);
}

TEST(NvmlGpus, AreReadByTheChildOfAFork) {
    const NvmlStandIn library;
    Sampler sampler(gpusAndLoad(paths::nvml, 60s));
    EXPECT_EQ(sampler.take().gpus.size(), 2U);
    const pid_t child = fork();
    if (child == 0)
        _exit(sampler.take().gpus.size() == 2 ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(sampler.take().gpus.size(), 2U);
}

TEST(NvmlGpus, OfTwoSamplersAreReadByBoth) {
    const NvmlStandIn library;
    Sampler one(gpusAndLoad(paths::nvml, 60s));
    Sampler other(gpusAndLoad(paths::nvml, 60s));
    for (Sampler *sampler : {&one, &other, &one})
        EXPECT_EQ(sampler->take().gpus.size(), 2U);
}

} // namespace
