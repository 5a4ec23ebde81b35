// The rates of processes, by numbers computed by hand.
#include "host/rates/ProcessGrowth.h"

#include <gtest/gtest.h>

namespace {

using zel::Absence;
using zel::Process;
using zel::ProcessRates;
using zel::Rows;

Process &add(Rows<Process> &rows, std::uint64_t pid, double start) {
    Process &process = rows.append();
    process = {};
    process.pid = pid;
    process.name = "p" + std::to_string(pid);
    process.startSeconds = start;
    process.userSeconds = 0;
    process.systemSeconds = 0;
    return process;
}

Rows<ProcessRates> between(const Rows<Process> &before, const Rows<Process> &now, double seconds = 2) {
    Rows<ProcessRates> rates;
    zel::takeProcessRates(before, now, seconds, rates);
    return rates;
}

TEST(ProcessGrowth, IsPerSecond) {
    Rows<Process> before, now;
    Process &old = add(before, 5, 1);
    Process &young = add(now, 5, 1);
    old.userSeconds = 10, young.userSeconds = 13;
    old.systemSeconds = 1, young.systemSeconds = 2;
    old.guestSeconds = 0, young.guestSeconds = 0.5;
    old.delaySeconds = 3, young.delaySeconds = 3.2;
    old.minorFaults = 100, young.minorFaults = 300;
    old.majorFaults = 1, young.majorFaults = 2;
    old.readBytes = 4096, young.readBytes = 8192;
    old.writtenBytes = 0, young.writtenBytes = 10;
    old.cancelledWriteBytes = 6, young.cancelledWriteBytes = 8;
    old.readCharacters = 1000, young.readCharacters = 5000;
    old.writtenCharacters = 7, young.writtenCharacters = 7;
    old.readCalls = 1, young.readCalls = 4;
    old.writeCalls = 2, young.writeCalls = 3;
    const Rows<ProcessRates> rates = between(before, now);
    ASSERT_EQ(rates.size(), 1u);
    EXPECT_EQ(rates[0].pid, 5u);
    EXPECT_EQ(rates[0].name, "p5");
    EXPECT_DOUBLE_EQ(*rates[0].user, 1.5);
    EXPECT_DOUBLE_EQ(*rates[0].system, 0.5);
    EXPECT_DOUBLE_EQ(*rates[0].cpu, 2);
    EXPECT_DOUBLE_EQ(*rates[0].guest, 0.25);
    EXPECT_NEAR(*rates[0].delay, 0.1, 1e-12);
    EXPECT_DOUBLE_EQ(*rates[0].minorFaults, 100);
    EXPECT_DOUBLE_EQ(*rates[0].majorFaults, 0.5);
    EXPECT_DOUBLE_EQ(*rates[0].readBytes, 2048);
    EXPECT_DOUBLE_EQ(*rates[0].writtenBytes, 5);
    EXPECT_DOUBLE_EQ(*rates[0].cancelledWriteBytes, 1);
    EXPECT_DOUBLE_EQ(*rates[0].readCharacters, 2000);
    EXPECT_DOUBLE_EQ(*rates[0].writtenCharacters, 0);
    EXPECT_DOUBLE_EQ(*rates[0].readCalls, 1.5);
    EXPECT_DOUBLE_EQ(*rates[0].writeCalls, 0.5);
}

TEST(ProcessGrowth, ProcessesAreMatchedByPidWhoeverCameAndWent) {
    Rows<Process> before, now;
    for (const std::uint64_t pid : {1, 3, 4, 9})
        add(before, pid, 1).userSeconds = static_cast<double>(pid);
    for (const std::uint64_t pid : {1, 2, 4, 8, 9, 10})
        add(now, pid, 1).userSeconds = static_cast<double>(2 * pid);
    const Rows<ProcessRates> rates = between(before, now, 1);
    ASSERT_EQ(rates.size(), 6u);
    EXPECT_DOUBLE_EQ(*rates[0].user, 1);
    EXPECT_EQ(rates[1].user.absence(), Absence::NotYet);
    EXPECT_DOUBLE_EQ(*rates[2].user, 4);
    EXPECT_EQ(rates[3].user.absence(), Absence::NotYet);
    EXPECT_DOUBLE_EQ(*rates[4].user, 9);
    EXPECT_EQ(rates[5].user.absence(), Absence::NotYet);
}

TEST(ProcessGrowth, ReusedPidIsNotYet) {
    Rows<Process> before, now;
    add(before, 5, 1).userSeconds = 1;
    add(now, 5, 2).userSeconds = 100;
    EXPECT_EQ(between(before, now)[0].cpu.absence(), Absence::NotYet);
}

TEST(ProcessGrowth, ReasonsStay) {
    Rows<Process> before, now;
    add(before, 5, 1).readBytes = Absence::Denied;
    add(now, 5, 1).readBytes = Absence::Denied;
    add(before, 6, 1).startSeconds = Absence::Malformed;
    Process &broken = add(now, 6, 1);
    broken.startSeconds = Absence::Malformed;
    broken.userSeconds = Absence::Malformed;
    const Rows<ProcessRates> rates = between(before, now);
    EXPECT_EQ(rates[0].readBytes.absence(), Absence::Denied);
    EXPECT_EQ(rates[0].delay.absence(), Absence::Unsupported);
    EXPECT_EQ(rates[1].cpu.absence(), Absence::Malformed);
    EXPECT_EQ(rates[1].system.absence(), Absence::NotYet);
}

TEST(ProcessGrowth, CounterThatFellAndNoTimeAreNotYet) {
    Rows<Process> before, now;
    add(before, 5, 1).minorFaults = 10;
    add(now, 5, 1).minorFaults = 9;
    EXPECT_EQ(between(before, now)[0].minorFaults.absence(), Absence::NotYet);
    EXPECT_EQ(between(before, now, 0)[0].cpu.absence(), Absence::NotYet);
}

} // namespace
