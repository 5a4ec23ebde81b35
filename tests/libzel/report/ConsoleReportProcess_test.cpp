// The process report, called directly and through the driver.
#include "ConsoleReport.h"
#include "DriverRun.h"
#include "MM_PROC_Info.h"
#include "ProcessHost.h"
#include "Settings.h"
#include "StreamCapture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

TEST(ProcessReport, PrintsTheTextOnStandardOutput) {
    ProcessHost host;
    FakeProcess process;
    process.pid = 7;
    host.put(process);
    CMM_PROC_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_proc_v2(&collector), 1);

    std::fflush(stdout);
    EXPECT_EQ(streams.out(), collector.g_stringPollProcess + "\n");
    EXPECT_EQ(streams.err(), "");
}

// A user chooses the command line: it must neither drive the terminal nor look like a line of its own.
TEST(ProcessReport, ControlBytesOfATitleArePrintedAsBlanks) {
    ProcessHost host;
    FakeProcess process;
    process.pid = 7;
    process.commandLine = "title\n\x1b[2J\x07\x7f\x9b\xc2\x9b\xc3\x9b\tend";
    host.put(process);
    CMM_PROC_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_proc_v2(&collector), 1);

    std::fflush(stdout);
    const std::string printed = streams.out();
    EXPECT_EQ(ProcessTable(printed.substr(0, printed.size() - 1).c_str()).value(7, "ARGS"),
              "title  [2J     \xc3\x9b end");
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1) << "the line end of the report";
    EXPECT_EQ(ProcessTable(collector.fGetProcInfo()).value(7, "ARGS"), process.commandLine)
        << "the text stays as it is";
}

TEST(ProcessReport, LongTextIsPrintedWhole) {
    ProcessHost host;
    FakeProcess process;
    process.commandLine = std::string(5000, 'a');
    for (process.pid = 1; process.pid <= 5; ++process.pid)
        host.put(process);
    CMM_PROC_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_proc_v2(&collector), 1);

    std::fflush(stdout);
    EXPECT_EQ(streams.out(), collector.g_stringPollProcess + "\n");
}

TEST(ProcessReport, NothingIsPrintedWithoutASample) {
    const HostFixture host;
    CMM_PROC_Info collector;
    const StreamCapture streams;

    EXPECT_EQ(print_proc_v2(&collector), -1);

    std::fflush(stdout);
    EXPECT_EQ(streams.out(), "");
}

// The driver on this machine: it finds itself, under its own name and parent, in every cycle.
TEST(ProcessDriver, ListsThisMachine) {
    const DriverRun driver;

    const DriverResult result = driver.run({"7", "1", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "////////////////[ 1 ]/////////////////// \n////////////////[ 2 ]/////////////////// \n");
    const std::size_t end = result.out.find("torv_token_end\n") + 15;
    for (const std::string &text : {result.out.substr(0, end), result.out.substr(end)}) {
        const ProcessTable table(text.substr(0, text.size() - 1).c_str());
        EXPECT_TRUE(table.ended());
        const std::vector<std::string> parents = table.values("PPID");
        const std::vector<std::string> names = table.values("NAME");
        bool found = false;
        for (std::size_t i = 0; i < names.size(); ++i)
            found = found || (names[i] == "libzelinfo" && parents[i] == std::to_string(getpid()));
        EXPECT_TRUE(found);
        EXPECT_EQ(table.columns().size(), 23U);
    }
}

} // namespace
