// What processes use of graphics cards, by the fdinfo of their descriptors.
#include "SampledHost.h"
#include "host/Rates.h"

#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::GpuProcess;
using zel::Sample;

class ClientHost : public SampledHost {
public:
    explicit ClientHost(const std::string &driver = "amdgpu") : SampledHost(std::vector{Area::Gpus}) {
        write("sys/class/drm/card0/device/uevent", "DRIVER=" + driver + "\nPCI_SLOT_NAME=0000:03:00.0\n");
    }

    /// A descriptor of a process, and what the kernel says of it.
    void descriptor(int pid, int number, const std::string &target, const std::string &info) const {
        const std::filesystem::path process = std::filesystem::path(path()) / "proc" / std::to_string(pid);
        std::filesystem::create_directories(process / "fd");
        std::filesystem::remove(process / "fd" / std::to_string(number));
        std::filesystem::create_symlink(target, process / "fd" / std::to_string(number));
        write("proc/" + std::to_string(pid) + "/fdinfo/" + std::to_string(number), info);
    }
    void client(int pid, int number, int id, const std::string &lines) const {
        descriptor(pid, number, "/dev/dri/renderD128",
                   "pos:\t0\nflags:\t02100002\nmnt_id:\t26\nino:\t1140\ndrm-driver:\tamdgpu\ndrm-client-id:\t" +
                       std::to_string(id) + "\ndrm-pdev:\t0000:03:00.0\n" + lines);
    }
};

TEST(DrmClients, OfAmdgpuHaveMemoryAndEngineTime) {
    ClientHost host;
    host.client(12, 5, 26,
                "pasid:\t32772\ndrm-memory-vram:\t2048 KiB\ndrm-memory-gtt: \t1 MiB\ndrm-memory-cpu: \t4096\n"
                "drm-total-vram: 999999 KiB\ndrm-shared-vram: 777 KiB\n"
                "drm-engine-gfx:\t1500000000 ns\ndrm-engine-compute:\t250000000 ns\ndrm-engine-dma:\t10000000 ns\n"
                "drm-engine-dec:\t3000000 ns\ndrm-engine-enc_1:\t4000000 ns\ndrm-engine-capacity-gfx: 7\n"
                "drm-engine-odd:\t1000000 ns\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.gpuProcesses.size(), 1U);
    const GpuProcess &process = sample.gpuProcesses[0];
    EXPECT_EQ(process.gpu, "card0");
    EXPECT_EQ(process.pid, 12U);
    EXPECT_EQ(process.kind, "drm");
    EXPECT_TRUE(holds(process.usedBytes, 2097152));
    EXPECT_TRUE(holds(process.systemBytes, 1048576 + 4096));
    EXPECT_DOUBLE_EQ(process.renderSeconds.valueOr(0), 1.5);
    EXPECT_DOUBLE_EQ(process.computeSeconds.valueOr(0), 0.25);
    EXPECT_DOUBLE_EQ(process.copySeconds.valueOr(0), 0.01);
    EXPECT_DOUBLE_EQ(process.videoSeconds.valueOr(0), 0.007);
    EXPECT_NEAR(process.engineSeconds.valueOr(0), 1.768, 1e-9);
}

TEST(DrmClients, OfI915HaveTheirEnginesNames) {
    ClientHost host("i915");
    host.descriptor(
        7, 3, "/dev/dri/card0",
        "drm-driver:\ti915\ndrm-pdev:\t0000:03:00.0\ndrm-client-id:\t9\n"
        "drm-engine-render:\t2000000000 ns\ndrm-engine-copy:\t0 ns\ndrm-engine-video:\t5000000 ns\n"
        "drm-engine-capacity-video:\t2\ndrm-engine-video-enhance:\t1000000 ns\n"
        "drm-resident-local0:\t300 KiB\ndrm-resident-system0:\t8 KiB\ndrm-resident-stolen-system0:\t4 KiB\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.gpuProcesses.size(), 1U);
    EXPECT_DOUBLE_EQ(sample.gpuProcesses[0].renderSeconds.valueOr(0), 2);
    EXPECT_TRUE(holds(sample.gpuProcesses[0].copySeconds, 0));
    EXPECT_DOUBLE_EQ(sample.gpuProcesses[0].videoSeconds.valueOr(0), 0.006);
    EXPECT_TRUE(lacks(sample.gpuProcesses[0].computeSeconds, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.gpuProcesses[0].usedBytes, 307200));
    EXPECT_TRUE(holds(sample.gpuProcesses[0].systemBytes, 12288));
}

TEST(DrmClients, PreferWhatIsInMemoryToWhatIsAllocated) {
    ClientHost host;
    host.client(12, 5, 26, "drm-memory-vram: 100 KiB\ndrm-resident-vram: 60 KiB\n");
    EXPECT_TRUE(holds(host.take().gpuProcesses[0].usedBytes, 61440));
}

TEST(DrmClients, ThatShareAClientCountOnce) {
    ClientHost host;
    host.client(12, 5, 26, "drm-memory-vram: 100 KiB\n");
    host.client(12, 6, 26, "drm-memory-vram: 100 KiB\n"); // a copy of the descriptor
    host.client(12, 7, 27, "drm-memory-vram: 20 KiB\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.gpuProcesses.size(), 1U);
    EXPECT_TRUE(holds(sample.gpuProcesses[0].usedBytes, 122880));
}

TEST(DrmClients, AreNotOtherDescriptors) {
    ClientHost host;
    host.descriptor(12, 0, "/dev/null", "pos:\t0\n");
    host.descriptor(12, 1, "socket:[123]", "drm-driver:\tamdgpu\ndrm-client-id:\t1\ndrm-pdev:\t0000:03:00.0\n");
    host.descriptor(12, 2, "/dev/dri/renderD129", "drm-driver:\tamdgpu\ndrm-client-id:\t1\ndrm-pdev:\t0000:99:00.0\n");
    host.descriptor(12, 3, "/dev/dri/renderD128", "");
    host.descriptor(12, 4, "/dev/dri/renderD128", "drm-driver:\tamdgpu\ndrm-pdev:\t0000:03:00.0\n"); // no id
    const Sample &sample = host.take();
    EXPECT_TRUE(sample.gpuProcesses.empty());
    EXPECT_EQ(failureOf(sample, Area::Gpus), NO_FAILURE);
}

TEST(DrmClients, WithNonsenseLackIt) {
    ClientHost host;
    host.client(12, 5, 26,
                "drm-memory-vram: 18446744073709551615 KiB\ndrm-engine-gfx: -5 ns\ndrm-engine-compute: 5 cycles\n"
                "drm-engine-dma\n::::\ndrm-memory-gtt: x\n" +
                    std::string(8000, 'y'));
    const Sample &sample = host.take();
    ASSERT_EQ(sample.gpuProcesses.size(), 1U);
    EXPECT_FALSE(sample.gpuProcesses[0].usedBytes.has());
    EXPECT_FALSE(sample.gpuProcesses[0].systemBytes.has());
    EXPECT_TRUE(lacks(sample.gpuProcesses[0].engineSeconds, Absence::Unsupported));
}

TEST(DrmClients, AreNotLookedForWhereNoDriverWritesThem) {
    ClientHost host("ast");
    host.client(12, 5, 26, "drm-memory-vram: 100 KiB\n");
    EXPECT_TRUE(host.take().gpuProcesses.empty());
}

TEST(DrmClients, HaveAShareOfTheTimeAsRate) {
    ClientHost host;
    host.client(12, 5, 26, "drm-engine-gfx: 1000000000 ns\n");
    const Sample before = host.take();
    host.client(12, 5, 26, "drm-engine-gfx: 1500000000 ns\n");
    Sample now = host.take();
    now.area(Area::Gpus).monotonicNanoseconds = before.area(Area::Gpus).monotonicNanoseconds + 1000000000;
    EXPECT_NEAR(zel::between(before, now).perSecond("gpu_processes", "render_seconds_total", "card0").valueOr(0), 0.5,
                1e-9);
}

} // namespace
