// Containers by the paths of cgroups, written by hand in the forms of the usual runtimes.
#include "host/areas/ContainerId.h"

#include <gtest/gtest.h>

namespace {

const std::string id = "3f2c1b0a9d8e7f605142332415060718293a4b5c6d7e8f90a1b2c3d4e5f60718";
const std::string other = "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff";

std::string containerOf(const std::string &cgroup) {
    zel::Reading<std::string> container = std::string("left from before");
    zel::takeContainer(cgroup, container);
    return container ? *container : std::string(zel::absenceName(container.absence()));
}

TEST(ContainerId, IsTheIdOfDocker) {
    EXPECT_EQ(containerOf("/docker/" + id), id);
    EXPECT_EQ(containerOf("/system.slice/docker-" + id + ".scope"), id);
    EXPECT_EQ(containerOf("/docker/" + id + "/system.slice/nginx.service"), id);
    EXPECT_EQ(containerOf("/ecs/0f1e2d/" + id), id);
}

TEST(ContainerId, IsTheIdOfPods) {
    EXPECT_EQ(containerOf("/kubepods/besteffort/pod8d3f1a2b-0000-4c5d-9e8f-112233445566/" + id), id);
    EXPECT_EQ(containerOf("/kubepods.slice/kubepods-burstable.slice/kubepods-burstable-pod8d3f_1a.slice/"
                          "cri-containerd-" +
                          id + ".scope"),
              id);
    EXPECT_EQ(containerOf("/kubepods.slice/kubepods-pod8d3f.slice/crio-" + id + ".scope"), id);
    EXPECT_EQ(containerOf("/system.slice/containerd.service/kubepods-besteffort-pod8d3f.slice:cri-containerd:" + id),
              id);
}

TEST(ContainerId, IsTheIdOfPodman) {
    EXPECT_EQ(containerOf("/machine.slice/libpod-" + id + ".scope"), id);
    EXPECT_EQ(containerOf("/machine.slice/libpod-" + id + ".scope/container"), id);
    EXPECT_EQ(containerOf("/user.slice/user-1000.slice/user@1000.service/user.slice/libpod-" + id + ".scope"), id);
    EXPECT_EQ(containerOf("/libpod_parent/libpod-" + id), id);
}

TEST(ContainerId, MonitorIsOutside) {
    EXPECT_EQ(containerOf("/machine.slice/libpod-conmon-" + id + ".scope"), "unsupported");
    EXPECT_EQ(containerOf("/kubepods.slice/crio-conmon-" + id + ".scope"), "unsupported");
    EXPECT_EQ(containerOf("/lxc.monitor.web"), "unsupported");
    EXPECT_EQ(containerOf("/lxc.monitor/web"), "unsupported");
}

TEST(ContainerId, IsTheInnermost) {
    EXPECT_EQ(containerOf("/docker/" + other + "/docker/" + id), id);
    EXPECT_EQ(containerOf("/lxc/web/docker/" + id), id);
    EXPECT_EQ(containerOf("/docker/" + other + "/lxc/web"), "web");
}

TEST(ContainerId, IsTheNameOfLxcAndOfMachines) {
    EXPECT_EQ(containerOf("/lxc/web"), "web");
    EXPECT_EQ(containerOf("/lxc/web/init.scope"), "web");
    EXPECT_EQ(containerOf("/lxc.payload/web"), "web");
    EXPECT_EQ(containerOf("/lxc.payload.web/user.slice"), "web");
    EXPECT_EQ(containerOf("/machine.slice/machine-web.scope"), "web");
    EXPECT_EQ(containerOf("/machine.slice/machine-web\\x2d01.scope/payload/init.scope"), "web-01");
    EXPECT_EQ(containerOf("/machine.slice/systemd-nspawn@db\\x2d2.service/payload"), "db-2");
}

TEST(ContainerId, VirtualMachineIsNone) {
    EXPECT_EQ(containerOf("/machine.slice/machine-qemu\\x2d1\\x2dweb.scope"), "unsupported");
}

TEST(ContainerId, CgroupThatIsBeingRemovedStillHasOne) {
    EXPECT_EQ(containerOf("/docker/" + id + " (deleted)"), id);
}

TEST(ContainerId, OrdinaryGroupsHaveNone) {
    for (const std::string &cgroup :
         {std::string("/"), std::string(""), std::string("/user.slice/user-1000.slice/session-3.scope"),
          std::string("/system.slice/docker.service"), std::string("/lxc"), std::string("/lxc/"),
          "/docker/" + id.substr(1),       // 63 digits
          "/docker/f" + id,                // 65
          "/docker/" + id.substr(1) + "g", // no digit
          "/docker/" + id.substr(1) + "A", std::string("/machine-.scope"), std::string(10000, '/')})
        EXPECT_EQ(containerOf(cgroup), "unsupported") << cgroup;
}

TEST(ContainerId, NameIsCutAtTheLongestThatADirectoryHas) {
    EXPECT_EQ(containerOf("/lxc/" + std::string(1000, 'n')), std::string(255, 'n'));
}

} // namespace
