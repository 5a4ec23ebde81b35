// What the interface collector hands to the command scheduler, seen as the command files of its mode 0.
#include "FrozenClock.h"
#include "MM_NWT_Info.h"
#include "NCmdScheduler.h"
#include "NetworkScene.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using testing::IsEmpty;

class NetworkSchedule : public testing::Test {
protected:
    NetworkSchedule() {
        std::filesystem::create_directories(scene.home.path() / "schedule");
        scheduler.fSetCmdSchedulerHomePath((scene.home.path() / "schedule").c_str());
        g_pclCCmdScheduler = &scheduler;
    }
    ~NetworkSchedule() override { g_pclCCmdScheduler = nullptr; }

    NetworkScene scene{1};
    CMM_NWT_Info collector;
    CCmdScheduler scheduler;
};

TEST_F(NetworkSchedule, InventoryRunIsRequestedAndNeverRunDirectly) {
    scene.commands.clear();
    EXPECT_EQ(collector.fCommandINV(7), 0);
    EXPECT_EQ(scene.home.read("schedule/shcmd_nic_inv_1.cmd"), "../../utils/ETC/ShCmd 1200 ./libinvinfo 3 7 &");
    EXPECT_THAT(scene.commands, IsEmpty());
}

TEST_F(NetworkSchedule, DuplexIsRequestedAndTheOldAnswerTaken) {
    FrozenClock clock(4102444800); // 2100: whatever is in the file is old
    scene.home.write("agent/aproc/shell/DuplexLinux.dat", "Half\n");
    scene.commands.clear();
    char text[12] = "";
    EXPECT_EQ(fGetDuplex("eth0", text), 1);
    EXPECT_STREQ(text, "Half Duplex");
    EXPECT_THAT(scene.commands, IsEmpty());
    EXPECT_EQ(
        scene.home.read("schedule/shcmd_NWT_NICDuplexInfoLinux_eth0____aproc_shell_DuplexLinuxTmp_dat____aproc_shell_"
                        "DuplexLinux_dat.cmd"),
        "../../utils/ETC/ShCmd 5 ./shell/LINUX/NICDuplexInfoLinux.sh eth0 ../aproc/shell/DuplexLinuxTmp.dat "
        "../aproc/shell/DuplexLinux.dat");
}

TEST_F(NetworkSchedule, NameThatIsNoNameIsNotScheduled) {
    char text[12] = "";
    EXPECT_EQ(fGetDuplex("eth0;reboot", text), -1);
    EXPECT_TRUE(std::filesystem::is_empty(scene.home.path() / "schedule"));
}

} // namespace
