// Writes that end no program and leave no halves.
#include "OwnProcess.h"
#include "TempDirectory.h"
#include "host/SafeWrite.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// A descriptor whose every write raises SIGPIPE.
int pipeWithoutReader() {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    close(ends[0]);
    return ends[1];
}

bool isPending(int signal) {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
}

bool isBlocked(int signal) {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

std::string content(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(SafeWrite, BrokenPipeOnlyFails) {
    const auto body = [] {
        const int file = pipeWithoutReader();
        EXPECT_EQ(zel::appendWhole(file, "text"), zel::Appended::NOTHING);
        EXPECT_EQ(errno, EPIPE);
        EXPECT_FALSE(isPending(SIGPIPE));
        EXPECT_FALSE(isBlocked(SIGPIPE));
        EXPECT_FALSE(isBlocked(SIGXFSZ));
    };
    EXPECT_SURVIVED(body);
}

TEST(SafeWrite, SignalThatTheProgramHoldsBackStaysPending) {
    const auto body = [] {
        sigset_t own;
        sigemptyset(&own);
        sigaddset(&own, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &own, nullptr);
        const int file = pipeWithoutReader();
        EXPECT_EQ(zel::appendWhole(file, "text"), zel::Appended::NOTHING);
        EXPECT_FALSE(isPending(SIGPIPE)) << "it was the write's own";
        EXPECT_EQ(raise(SIGPIPE), 0);
        EXPECT_EQ(zel::appendWhole(file, "text"), zel::Appended::NOTHING);
        EXPECT_TRUE(isPending(SIGPIPE)) << "it was the program's own";
        EXPECT_TRUE(isBlocked(SIGPIPE));
    };
    EXPECT_SURVIVED(body);
}

TEST(SafeWrite, HandlerOfTheProgramIsNotCalledForItsWrites) {
    const auto body = [] {
        signal(SIGPIPE, [](int) { _exit(2); });
        EXPECT_EQ(zel::appendWhole(pipeWithoutReader(), "text"), zel::Appended::NOTHING);
    };
    EXPECT_SURVIVED(body);
}

TEST(SafeWrite, TextBeyondTheLimitOfFileSizesLeavesTheFileAsItWas) {
    const TempDirectory directory;
    const std::string path = directory.path() / "file";
    const auto body = [&] {
        const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0600);
        limitFileSize(10);
        EXPECT_EQ(zel::appendWhole(file, "1234567"), zel::Appended::WHOLE);
        EXPECT_EQ(zel::appendWhole(file, "abcdefg"), zel::Appended::NOTHING) << "three bytes of it fit";
        EXPECT_EQ(content(path), "1234567");
        EXPECT_EQ(zel::appendWhole(file, "890"), zel::Appended::WHOLE);
        EXPECT_EQ(zel::appendWhole(file, "x"), zel::Appended::NOTHING);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(content(path), "1234567890");
    };
    EXPECT_SURVIVED(body);
}

TEST(SafeWrite, EmptyTextIsWhole) {
    const TempDirectory directory;
    const int file = open((directory.path() / "file").c_str(), O_WRONLY | O_APPEND | O_CREAT, 0600);
    EXPECT_EQ(zel::appendWhole(file, ""), zel::Appended::WHOLE);
    close(file);
}

TEST(SafeWrite, StandardErrorMayBeGone) {
    const auto body = [] {
        dup2(pipeWithoutReader(), STDERR_FILENO);
        zel::printError("text");
        zel::printErrorf("%d", 1);
    };
    EXPECT_SURVIVED(body);
    const auto closed = [] {
        close(STDERR_FILENO);
        zel::printError("text");
    };
    EXPECT_SURVIVED(closed);
}

TEST(SafeWrite, ErrorOfAnyLengthIsPrintedWhole) {
    testing::internal::CaptureStderr();
    for (const int length : {0, 1, 510, 511, 512, 5000})
        zel::printErrorf("%s|", std::string(static_cast<std::size_t>(length), 'x').c_str());
    std::string expected;
    for (const std::size_t length : {0U, 1U, 510U, 511U, 512U, 5000U})
        expected += std::string(length, 'x') + "|";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}

int readEnd = -1;
volatile std::sig_atomic_t alarmsUntilRead = 0;

void readAfterSomeAlarms(int) {
    if (alarmsUntilRead == 0)
        return;
    alarmsUntilRead = alarmsUntilRead - 1;
    char taken[4096];
    if (alarmsUntilRead == 0)
        static_cast<void>(!read(readEnd, taken, sizeof(taken)));
}

// Writes into a full pipe while alarms interrupt it; one of them makes room, 0: none does.
bool writeBetweenAlarms(int alarms, zel::OnSignal onSignal) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_NONBLOCK), 0);
    while (write(ends[1], "x", 1) == 1) {
    }
    EXPECT_EQ(fcntl(ends[1], F_SETFL, 0), 0);
    readEnd = ends[0];
    alarmsUntilRead = alarms;
    struct sigaction action {};
    action.sa_handler = readAfterSomeAlarms;
    sigaction(SIGALRM, &action, nullptr);
    const itimerval often{{0, 5000}, {0, 5000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const bool written = zel::writeAll(ends[1], "text", onSignal);
    const int error = errno;
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    errno = error;
    return written;
}

TEST(SafeWrite, WriteThatASignalInterruptsGoesOnOrFails) {
    const auto body = [] {
        EXPECT_TRUE(writeBetweenAlarms(3, zel::OnSignal::GOES_ON));
        EXPECT_FALSE(writeBetweenAlarms(0, zel::OnSignal::FAILS));
        EXPECT_EQ(errno, EINTR);
    };
    EXPECT_SURVIVED(body);
}

} // namespace
