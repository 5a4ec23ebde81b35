// Starts a process that comes to wait under the lock of its memory.
#include "MemoryLockHolder.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::size_t mapSize = 4096;

// Never returns. The pages of a shared map are written when it goes, under the lock.
void live(const char *path, int out, int in) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int file = open(path, O_RDWR | O_CLOEXEC);
    struct stat status {};
    fstat(file, &status); // the kernel asks for the size
    void *const map = mmap(nullptr, mapSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (map == MAP_FAILED)
        _exit(1);
    *static_cast<volatile char *>(map) = '2';
    char word = 'r';
    if (write(out, &word, 1) == 1 && read(in, &word, 1) == 1)
        mmap(map, mapSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    for (;;)
        pause();
}

// Its stat can be read all the time.
char stateOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t end = line.rfind(") ");
    return end == std::string::npos ? '?' : line[end + 2];
}

} // namespace

MemoryLockHolder::MemoryLockHolder(const std::string &file) {
    int out[2], in[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(in, O_CLOEXEC) != 0)
        return;
    m_pid = fork();
    if (m_pid == 0)
        live(file.c_str(), out[1], in[0]);
    close(out[1]);
    close(in[0]);
    m_word = in[1];
    char ready = '\0';
    if (read(out[0], &ready, 1) != 1) {
        close(m_word);
        m_word = -1;
    }
    close(out[0]);
}

MemoryLockHolder::~MemoryLockHolder() {
    close(m_word);
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
}

bool MemoryLockHolder::hold() const {
    if (m_word < 0 || write(m_word, "g", 1) != 1)
        return false;
    for (int tries = 0; tries < 2000; ++tries) {
        if (stateOf(m_pid) == 'D')
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}
