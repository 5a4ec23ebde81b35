// The tracked allocations: slots, records and failures.
#include "LogRecorder.h"
#include "NGFunctions.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <climits>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;

class TrackedMemory : public testing::Test {
protected:
    TrackedMemory() { EXPECT_EQ(g_stMemUse.m_nMemSize, 0); }
    ~TrackedMemory() override {
        g_nPrint = 0;
        for (int slot = 0; slot < g_stMemUse.m_nMemSize; ++slot)
            std::free(g_stMemUse.m_ppvdMEM[slot]);
        std::free(g_stMemUse.m_ppvdMEM);
        std::free(g_stMemUse.m_pnDebugNum);
        std::free(g_stMemUse.m_pnMEMSize);
        g_stMemUse = {};
    }

    static int liveBlocks() {
        int count = 0;
        for (int slot = 0; slot < g_stMemUse.m_nMemSize; ++slot)
            count += g_stMemUse.m_ppvdMEM[slot] != nullptr ? 1 : 0;
        return count;
    }

    static void fill(int blocks) {
        for (int i = 0; i < blocks; ++i)
            ASSERT_NE(fgNmalloc(1, 1), nullptr);
    }
};

TEST_F(TrackedMemory, TableStartsWith512FreeSlots) {
    EXPECT_EQ(fgInitAlloc(), 1);

    EXPECT_EQ(g_stMemUse.m_nMemSize, 512);
    EXPECT_EQ(liveBlocks(), 0);
    for (int slot = 0; slot < 512; ++slot)
        EXPECT_TRUE(g_stMemUse.m_pnDebugNum[slot] == 0 && g_stMemUse.m_pnMEMSize[slot] == 0);
}

TEST_F(TrackedMemory, WithoutMemoryTheTableStaysEmpty) {
    for (int allowed = 0; allowed < 3; ++allowed) {
        systemHooks().failAllocationAfter = allowed;
        EXPECT_EQ(fgInitAlloc(), 0) << allowed;
        EXPECT_EQ(g_stMemUse.m_nMemSize, 0);
        EXPECT_EQ(g_stMemUse.m_ppvdMEM, nullptr);
    }
}

TEST_F(TrackedMemory, SecondInitialisationKeepsTheRecords) {
    void *block = fgNmalloc(10, 7);

    EXPECT_EQ(fgInitAlloc(), 1);

    EXPECT_EQ(liveBlocks(), 1);
    EXPECT_EQ(fgNfree(block, 7), 1);
}

TEST_F(TrackedMemory, AllocationIsRecordedInTheLastFreeSlot) {
    void *first = fgNmalloc(100, 7);
    void *second = fgNmalloc(200, 8);

    EXPECT_EQ(g_stMemUse.m_nMemSize, 512);
    EXPECT_EQ(g_stMemUse.m_ppvdMEM[511], first);
    EXPECT_EQ(g_stMemUse.m_pnDebugNum[511], 7);
    EXPECT_EQ(g_stMemUse.m_pnMEMSize[511], 100);
    EXPECT_EQ(g_stMemUse.m_ppvdMEM[510], second);
    EXPECT_EQ(g_stMemUse.m_pnDebugNum[510], 8);
    EXPECT_EQ(g_stMemUse.m_pnMEMSize[510], 200);
}

TEST_F(TrackedMemory, FreedSlotIsUsedAgain) {
    void *first = fgNmalloc(100, 7);
    fgNmalloc(200, 8);
    EXPECT_EQ(fgNfree(first, 7), 1);
    EXPECT_EQ(g_stMemUse.m_ppvdMEM[511], nullptr);

    void *third = fgNmalloc(300, 9);

    EXPECT_EQ(g_stMemUse.m_ppvdMEM[511], third);
    EXPECT_EQ(liveBlocks(), 2);
}

TEST_F(TrackedMemory, CallocGivesZeroesAndRecordsAllItsBytes) {
    const char *block = static_cast<const char *>(fgNcalloc(30, 40, 5));

    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, 1200), std::string(1200, '\0'));
    EXPECT_EQ(g_stMemUse.m_ppvdMEM[511], block);
    EXPECT_EQ(g_stMemUse.m_pnDebugNum[511], 5);
    EXPECT_EQ(g_stMemUse.m_pnMEMSize[511], 1200);
}

TEST_F(TrackedMemory, FailedAllocationRecordsNothing) {
    ASSERT_EQ(fgInitAlloc(), 1);

    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(fgNmalloc(10, 7), nullptr);
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(fgNcalloc(1, 10, 7), nullptr);

    EXPECT_EQ(liveBlocks(), 0);
}

TEST_F(TrackedMemory, FailedTableGivesNull) {
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(fgNmalloc(10, 7), nullptr);
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(fgNcalloc(1, 10, 7), nullptr);
}

TEST_F(TrackedMemory, NegativeSizesGiveNull) {
    EXPECT_EQ(fgNmalloc(-1, 7), nullptr);
    EXPECT_EQ(fgNcalloc(-1, 10, 7), nullptr);
    EXPECT_EQ(fgNcalloc(1, INT_MIN, 7), nullptr);

    EXPECT_EQ(liveBlocks(), 0);
}

TEST_F(TrackedMemory, TableGrowsBy512AndUsesTheFirstNewSlot) {
    fill(512);
    void *const lowest = g_stMemUse.m_ppvdMEM[0];
    void *const highest = g_stMemUse.m_ppvdMEM[511];

    void *block = fgNmalloc(20, 77);

    EXPECT_EQ(g_stMemUse.m_nMemSize, 1024);
    EXPECT_EQ(g_stMemUse.m_ppvdMEM[512], block);
    EXPECT_EQ(g_stMemUse.m_pnDebugNum[512], 77);
    EXPECT_EQ(g_stMemUse.m_pnMEMSize[512], 20);
    EXPECT_EQ(g_stMemUse.m_ppvdMEM[0], lowest);
    EXPECT_EQ(g_stMemUse.m_ppvdMEM[511], highest);
    EXPECT_EQ(g_stMemUse.m_pnDebugNum[511], 1);
    EXPECT_EQ(liveBlocks(), 513);

    EXPECT_EQ(fgNcalloc(1, 20, 78), g_stMemUse.m_ppvdMEM[1023]) << "then the last free slot again";
}

TEST_F(TrackedMemory, FailedGrowthKeepsTheOldTableAndGivesNull) {
    fill(512);

    // The block itself is given; the arrays of the larger table fail one after the other. A leak checker sees a block
    // that is not freed.
    for (int allowed = 1; allowed < 4; ++allowed) {
        systemHooks().failAllocationAfter = allowed;
        EXPECT_EQ(fgNmalloc(20, 77), nullptr) << allowed;
        systemHooks().failAllocationAfter = allowed;
        EXPECT_EQ(fgNcalloc(1, 20, 77), nullptr) << allowed;
    }

    EXPECT_EQ(g_stMemUse.m_nMemSize, 512);
    EXPECT_EQ(liveBlocks(), 512);
}

// --- A block that was freed past the table -------------------------------------------------------------------------

TEST_F(TrackedMemory, AddressThatComesAgainTakesOverItsSlotWithAMessage) {
    fgNmalloc(5, 7);
    void *block = fgNmalloc(100, 7);
    fgNmalloc(50, 7);
    g_nPrint = 1;
    const StreamCapture streams;

    systemHooks().nextAllocation = block;
    EXPECT_EQ(fgNmalloc(300, 9), block);

    // slot 510, three blocks under number 7
    EXPECT_EQ(streams.err(), "re malloc[510] DEBUG NO[7] --> 3 count, 100 Byte : request[size 300][DebugNum 9]\n");
    EXPECT_EQ(streams.out(), "");
    EXPECT_EQ(liveBlocks(), 3);
    EXPECT_EQ(g_stMemUse.m_pnDebugNum[510], 9);
    EXPECT_EQ(g_stMemUse.m_pnMEMSize[510], 300);
}

TEST_F(TrackedMemory, CallocHasItsOwnMessage) {
    void *block = fgNcalloc(4, 25, 7);
    g_nPrint = 1;
    const StreamCapture streams;

    systemHooks().nextAllocation = block;
    EXPECT_EQ(fgNcalloc(3, 20, 9), block);

    EXPECT_EQ(streams.err(),
              "re calloc[511] DEBUG NO[7] --> 1 count, 100 Byte : request[memcnt 3, size 20][DebugNum 9]\n");
    EXPECT_EQ(g_stMemUse.m_pnMEMSize[511], 60);
}

TEST_F(TrackedMemory, AddressThatComesAgainIsSilentWithoutPrint) {
    void *block = fgNmalloc(100, 7);
    const StreamCapture streams;
    for (const int print : {0, 2}) {
        g_nPrint = print;
        systemHooks().nextAllocation = block;
        EXPECT_EQ(fgNmalloc(300, 9), block);
        systemHooks().nextAllocation = block;
        EXPECT_EQ(fgNcalloc(1, 300, 9), block);
    }

    EXPECT_EQ(streams.err(), "");
    EXPECT_EQ(liveBlocks(), 1);
}

// --- Free ----------------------------------------------------------------------------------------------------------

TEST_F(TrackedMemory, FreeingForgetsTheBlock) {
    void *block = fgNmalloc(100, 7);
    g_nPrint = 1;
    const StreamCapture streams;

    EXPECT_EQ(fgNfree(block, 7), 1);

    EXPECT_EQ(liveBlocks(), 0);
    EXPECT_EQ(streams.err(), "");
}

TEST_F(TrackedMemory, UnknownAddressIsFreedWithAMessage) {
    void *block = std::malloc(10); // a leak checker sees it when it is not freed
    char expected[64];
    std::snprintf(expected, sizeof(expected), "not found free address [%p][%d]\n", block, 7);
    g_nPrint = 1;
    const StreamCapture streams;

    EXPECT_EQ(fgNfree(block, 7), 0);

    EXPECT_EQ(streams.err(), expected);
    EXPECT_EQ(streams.out(), "");
}

TEST_F(TrackedMemory, UnknownAddressIsSilentWithoutPrint) {
    const StreamCapture streams;

    EXPECT_EQ(fgNfree(std::malloc(10), 7), 0);

    EXPECT_EQ(streams.err(), "");
}

TEST_F(TrackedMemory, FreeSlotsDoNotHoldNull) {
    ASSERT_EQ(fgInitAlloc(), 1);
    EXPECT_EQ(fgNfree(nullptr, 7), 0);
}

// --- Leak report ---------------------------------------------------------------------------------------------------

constexpr const char *threeGroups = "Total MEM alloc[0] DEBUG NO[30] --> 1 count, 400 Byte\n"
                                    "Total MEM alloc[1] DEBUG NO[10] --> 2 count, 101 Byte\n"
                                    "Total MEM alloc[2] DEBUG NO[-5] --> 1 count, 2000 Byte\n"
                                    "Total memory alloc size = 2501 Byte\n";

// Slots 511, 510, 509, 508: the report walks them upwards.
void allocateThreeGroups() {
    fgNcalloc(10, 200, -5);
    fgNmalloc(1, 10);
    fgNmalloc(100, 10);
    fgNmalloc(400, 30);
}

TEST_F(TrackedMemory, ReportGroupsByDebugNumberInOrderOfAppearance) {
    allocateThreeGroups();
    g_nPrint = 1;
    const StreamCapture streams;

    EXPECT_EQ(fgNPrintAlloc(), 1);

    EXPECT_EQ(streams.err(), threeGroups);
    EXPECT_EQ(streams.out(), "");
}

TEST_F(TrackedMemory, ReportLeavesFreedBlocksOut) {
    void *block = fgNmalloc(100, 10);
    fgNmalloc(7, 20);
    fgNfree(block, 10);
    g_nPrint = 1;
    const StreamCapture streams;

    EXPECT_EQ(fgNPrintAlloc(), 1);

    EXPECT_EQ(streams.err(), "Total MEM alloc[0] DEBUG NO[20] --> 1 count, 7 Byte\n"
                             "Total memory alloc size = 7 Byte\n");
}

TEST_F(TrackedMemory, ReportOfNothingIsTheSumAlone) {
    g_nPrint = 1;
    const StreamCapture streams;

    EXPECT_EQ(fgNPrintAlloc(), 1);

    EXPECT_EQ(streams.err(), "Total memory alloc size = 0 Byte\n");
}

TEST_F(TrackedMemory, SumExceeds32Bits) {
    ASSERT_EQ(fgInitAlloc(), 1);
    for (const int slot : {0, 1}) {
        g_stMemUse.m_ppvdMEM[slot] = std::malloc(1);
        g_stMemUse.m_pnMEMSize[slot] = INT_MAX;
    }
    g_nPrint = 1;
    const StreamCapture streams;

    fgNPrintAlloc();

    EXPECT_EQ(streams.err(), "Total MEM alloc[0] DEBUG NO[0] --> 2 count, 4294967294 Byte\n"
                             "Total memory alloc size = 4294967294 Byte\n");
}

TEST_F(TrackedMemory, OpenDebugGateSendsTheReportToTheLogAlone) {
    allocateThreeGroups();
    const LogRecorder log;
    const OpenGate gate(g_nLogModDEBUG, 16, g_nLoggingDEBUG2, 1);
    const StreamCapture streams;

    EXPECT_EQ(fgNPrintAlloc(), 1);

    EXPECT_THAT(log.calls(), ElementsAre(LogCall{1, "LIB", "Total MEM alloc[0] DEBUG NO[30] --> 1 count, 400 Byte"},
                                         LogCall{1, "LIB", "Total MEM alloc[1] DEBUG NO[10] --> 2 count, 101 Byte"},
                                         LogCall{1, "LIB", "Total MEM alloc[2] DEBUG NO[-5] --> 1 count, 2000 Byte"},
                                         LogCall{1, "LIB", "Total memory alloc size = 2501 Byte"}));
    EXPECT_EQ(streams.err(), "");
}

TEST_F(TrackedMemory, ReportGoesBothWaysWhenBothAreOpen) {
    allocateThreeGroups();
    const LogRecorder log;
    const OpenGate gate(g_nLogModDEBUG, 16, g_nLoggingDEBUG2, 1);
    g_nPrint = 1;
    const StreamCapture streams;

    fgNPrintAlloc();

    EXPECT_EQ(log.calls().size(), 4U);
    EXPECT_EQ(streams.err(), threeGroups);
}

TEST_F(TrackedMemory, ReportDoesNothingWithoutPrintAndDebugGate) {
    allocateThreeGroups();
    const LogRecorder log;
    const StreamCapture streams;
    for (const auto &[module, detail] : {std::pair{~16, -1}, std::pair{-1, ~1}, std::pair{0, 0}}) {
        const OpenGate gate(g_nLogModDEBUG, module, g_nLoggingDEBUG2, detail);
        EXPECT_EQ(fgNPrintAlloc(), 1);
    }

    EXPECT_THAT(log.calls(), IsEmpty());
    EXPECT_EQ(streams.err(), "");
}

} // namespace
