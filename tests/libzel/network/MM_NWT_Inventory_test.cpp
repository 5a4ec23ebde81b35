// The interface inventory: both files, the change check, the request.
#include "LogCapture.h"
#include "MM_NWT_Info.h"
#include "NCmdScheduler.h"
#include "NetworkScene.h"
#include "Separators.h"
#include "Settings.h"

#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NetworkInventory : public testing::Test {
protected:
    void inventory(const std::string &text) const {
        scene.home.write("agent/aproc/shell/InterfaceINVStrInfo.dat", text);
    }
    void newInventory(const std::string &text) const {
        scene.home.write("agent/aproc/shell/InterfaceINVNewStrInfo.dat", text);
    }

    std::vector<std::string> extraNames() const {
        std::vector<std::string> names;
        for (const _ST_NETWORKEXT_LIST *node = collector.m_pclNetworkExtList->fGetHeadNode(); node != nullptr;
             node = node->m_pstNext)
            names.emplace_back(node->m_strIFName);
        return names;
    }

    NetworkScene scene{1};
    CMM_NWT_Info collector;
};

TEST_F(NetworkInventory, TextFollowsTheMarker) {
    inventory("\nUPPER CASE ONLY\nTORVInterface|INDEX" + C + R + "1" + C + "eth0" + C + "\n");
    newInventory("TORVInterface|other\n");
    EXPECT_EQ(collector.fGetInterfaceINV(), 1);
    EXPECT_EQ(collector.m_nInterfaceINVCnt, 1);
    EXPECT_EQ(std::string(collector.m_pStrInterfaceINV), "INDEX" + C + R + "1" + C + "eth0" + C);
    EXPECT_STREQ(collector.m_pStrInterfaceNewINV, "");
    EXPECT_EQ(collector.fGetInterfaceNewINV(), 1);
    EXPECT_STREQ(collector.m_pStrInterfaceNewINV, "other");
    EXPECT_EQ(collector.m_nInterfaceINVNewSize, 10240);
}

TEST_F(NetworkInventory, LineWithNothingAfterTheBarIsAnEmptyText) {
    inventory("TORVInterface|INDEX\n");
    EXPECT_EQ(collector.fGetInterfaceINV(), 1);
    inventory("TORVInterface|\n");
    EXPECT_EQ(collector.fGetInterfaceINV(), 1);
    EXPECT_EQ(collector.m_nInterfaceINVCnt, 1);
    EXPECT_STREQ(collector.m_pStrInterfaceINV, "");
}

TEST_F(NetworkInventory, LongTextReplacesTheBuffer) {
    const std::string text(20000, 'x');
    inventory("TORVInterface|" + text + "\n");
    EXPECT_EQ(collector.fGetInterfaceINV(), 1);
    EXPECT_EQ(collector.m_pStrInterfaceINV, text);
    EXPECT_EQ(collector.m_nInterfaceINVSize, 10240 + 20014 + 16); // its size, the line, 16 bytes
}

TEST_F(NetworkInventory, FailuresLeaveTheTextAndResetTheCount) {
    inventory("TORVInterface|kept\n");
    ASSERT_EQ(collector.fGetInterfaceINV(), 1);
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5);
        inventory("");
        EXPECT_EQ(collector.fGetInterfaceINV(), -1);
        EXPECT_EQ(collector.m_nInterfaceINVCnt, 0);
        inventory("TORVInterface|no line feed yet");
        EXPECT_EQ(collector.fGetInterfaceINV(), -1);
        inventory("TORVDisk|other marker\n");
        EXPECT_EQ(collector.fGetInterfaceINV(), -1);
        scene.home.remove("agent/aproc/shell/InterfaceINVStrInfo.dat");
        EXPECT_EQ(collector.fGetInterfaceINV(), -1);
        EXPECT_EQ(collector.fGetInterfaceNewINV(), -1);
        messages = log.messages();
    }
    EXPECT_STREQ(collector.m_pStrInterfaceINV, "kept");
    EXPECT_THAT(messages, ElementsAre("inv file size zero", "fgets not contents", "fgets not contents",
                                      "fopen failed(2)", "fopen failed(2)"));
}

TEST_F(NetworkInventory, LineWithoutASeparatorHasNoText) {
    inventory("TORVInterface\n");
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5);
        EXPECT_EQ(collector.fGetInterfaceINV(), -1);
        messages = log.messages();
    }
    EXPECT_EQ(collector.m_nInterfaceINVCnt, 0);
    EXPECT_THAT(messages, ElementsAre("inv not contents"));
}

TEST_F(NetworkInventory, MessagesHaveAGateOfTheirOwn) {
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6 | zel::LOG_DETAIL_LAB14);
        EXPECT_EQ(collector.fGetInterfaceINV(), -1);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), -1);
        messages = log.messages();
    }
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(NetworkInventory, ExtraInterfacesAreRebuiltFromEitherFileWhenGathered) {
    const auto table = [](const std::string &name) {
        return "TORVInterface|INDEX" + C + "NAME" + C + R + "1" + C + name + C + "\n";
    };
    inventory(table("eth0"));
    newInventory(table("eth1"));
    EXPECT_EQ(collector.fGetInterfaceINV(), 1);
    EXPECT_THAT(extraNames(), IsEmpty());
    g_nNetworkExtGather = 1;
    EXPECT_EQ(collector.fGetInterfaceINV(), 1);
    EXPECT_THAT(extraNames(), ElementsAre("eth0"));
    EXPECT_EQ(collector.fGetInterfaceNewINV(), 1);
    EXPECT_THAT(extraNames(), ElementsAre("eth1"));
    inventory("");
    EXPECT_EQ(collector.fGetInterfaceINV(), -1);
    EXPECT_THAT(extraNames(), ElementsAre("eth1")) << "a failure keeps the list";
}

TEST_F(NetworkInventory, ChangeIsToldOnceAndNeverForTheFirst) {
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5);
        inventory("TORVInterface|one\n");
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 0);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 0);
        inventory("TORVInterface|two\n");
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 1);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 0);
        messages = log.messages();
    }
    EXPECT_THAT(messages, ElementsAre("Interface inv change"));
    EXPECT_STREQ(collector.m_pstrInterfaceName, "TORVInterface|two");
}

TEST_F(NetworkInventory, LongLineIsKeptWholeByTheChangeCheck) {
    const std::string line = "TORVInterface|" + std::string(20000, 'x');
    inventory(line + "\n");
    EXPECT_EQ(collector.fInterfaceChangeCheck(), 0);
    EXPECT_EQ(collector.m_pstrInterfaceName, line);
    EXPECT_EQ(collector.m_nInterfaceNameSize, 10240 + 20014 + 16);
    inventory(line + "y\n");
    EXPECT_EQ(collector.fInterfaceChangeCheck(), 1);
}

TEST_F(NetworkInventory, ChangeCheckFailsWithoutAUsableLine) {
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), -1);
        inventory("");
        EXPECT_EQ(collector.fInterfaceChangeCheck(), -1);
        inventory("TORVCPU|x\n");
        EXPECT_EQ(collector.fInterfaceChangeCheck(), -1);
        messages = log.messages();
    }
    EXPECT_THAT(messages, ElementsAre("fopen failed(2)", "inv file size zero", "fgets not contents"));
    EXPECT_STREQ(collector.m_pstrInterfaceName, "1");
}

TEST_F(NetworkInventory, BothFilesAreRemoved) {
    inventory("x");
    newInventory("x");
    EXPECT_EQ(collector.fINVFileRemove(), 0);
    EXPECT_FALSE(scene.home.exists("agent/aproc/shell/InterfaceINVStrInfo.dat"));
    EXPECT_FALSE(scene.home.exists("agent/aproc/shell/InterfaceINVNewStrInfo.dat"));
    inventory("x");
    EXPECT_EQ(collector.fINVFileRemove(), -1) << "the second removal tells";
    EXPECT_FALSE(scene.home.exists("agent/aproc/shell/InterfaceINVStrInfo.dat"));
    newInventory("x");
    EXPECT_EQ(collector.fINVFileRemove(), 0);
}

TEST_F(NetworkInventory, WithoutASchedulerNothingIsRun) {
    scene.commands.clear();
    EXPECT_EQ(collector.fCommandINV(1), -1);
    EXPECT_THAT(scene.commands, IsEmpty());
}

TEST(NetworkInventoryInListMode, HasNoFiles) {
    NetworkScene scene(0);
    scene.home.write("agent/aproc/shell/InterfaceINVStrInfo.dat", "TORVInterface|x\n");
    CMM_NWT_Info collector;
    EXPECT_EQ(collector.fGetInterfaceINV(), -1);
    EXPECT_EQ(collector.fGetInterfaceNewINV(), -1);
    EXPECT_EQ(collector.fInterfaceChangeCheck(), -1);
    EXPECT_EQ(collector.fINVFileRemove(), -1);
    EXPECT_TRUE(scene.home.exists("agent/aproc/shell/InterfaceINVStrInfo.dat"));
}

} // namespace
