// Adds loop devices, and a process that removes them however the benchmark ends.
#include "LoopDisks.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr int minorsPerDisk = 16;
constexpr int firstPartitionNumber = 8; // below are the devices that a machine starts with
constexpr int firstNumberBeyondDisks = 10000;

// Collects numbers until the other end is gone, then removes those devices.
[[noreturn]] void guard(int control, int numbers) {
    setsid();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        std::signal(signal, SIG_IGN);
    std::vector<int> devices;
    for (int number = 0; read(numbers, &number, sizeof(number)) == sizeof(number);)
        devices.push_back(number);
    for (const int device : devices)
        ioctl(control, LOOP_CTL_REMOVE, device);
    _exit(0);
}

} // namespace

namespace bench {

LoopDisks::LoopDisks()
    : m_control(open("/dev/loop-control", O_RDWR | O_CLOEXEC)), m_nextDisk(minorsPerDisk),
      m_nextOther(firstPartitionNumber) {
    int ends[2];
    if (m_control < 0 || pipe2(ends, O_CLOEXEC) != 0)
        return;
    m_guardian = fork();
    if (m_guardian == 0) {
        close(ends[1]);
        guard(m_control, ends[0]);
    }
    close(ends[0]);
    m_toGuardian = ends[1];
}

LoopDisks::~LoopDisks() {
    if (m_toGuardian >= 0)
        close(m_toGuardian);
    if (m_guardian > 0)
        waitpid(m_guardian, nullptr, 0);
    if (m_control >= 0)
        close(m_control);
}

int LoopDisks::nextNumber() {
    if (m_nextDisk < firstNumberBeyondDisks)
        return std::exchange(m_nextDisk, m_nextDisk + minorsPerDisk);
    if (m_nextOther % minorsPerDisk == 0)
        ++m_nextOther;
    return m_nextOther++;
}

bool LoopDisks::add(long count) {
    if (m_control < 0 || m_guardian < 0)
        return false;
    while (count > 0) {
        const int number = nextNumber();
        if (ioctl(m_control, LOOP_CTL_ADD, number) < 0) {
            if (errno == EEXIST)
                continue;
            std::perror("loop device");
            return false;
        }
        if (write(m_toGuardian, &number, sizeof(number)) != sizeof(number)) {
            ioctl(m_control, LOOP_CTL_REMOVE, number);
            return false;
        }
        --count;
    }
    return true;
}

} // namespace bench
