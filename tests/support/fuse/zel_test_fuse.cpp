// A FUSE server for tests of mounts that do not answer: stop it with SIGSTOP, and every statfs64 on its mounts hangs
// until SIGCONT.
//
//   zel_test_fuse PLACE... -- COMMAND...
//   zel_test_fuse PLACE...
//
// mounts a filesystem of 2 GB (type "fuse.zeltest", device "zel_test_fuse") on every place and serves it, speaking the
// kernel's protocol on /dev/fuse itself. On a directory it is empty; on a file it is one file that holds "1000", and
// each read of it asks the server: an attribute of a driver that stops answering. Opened for writing it can be mapped,
// and what is written to it is forgotten.
//
// With a command it does so in a mount namespace of its own and runs the command there, with its own process number in
// ZEL_TEST_FUSE (`kill -STOP "$ZEL_TEST_FUSE"`); it ends with the command and its status.
//
// Without one it mounts in the namespace it was started in, prints "ready" and serves until SIGTERM, which unmounts. It
// refuses the namespace of the machine: a mount that hangs there would hold whoever comes by.
//
// It dies with the program that started it. Exit status 77, with a reason, where it cannot be done.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <linux/fuse.h>

namespace {

constexpr int exitSkipped = 77;
constexpr std::size_t requestSize = 256UL * 1024;
constexpr int pollMilliseconds = 100; // a signal may come just before the wait

volatile std::sig_atomic_t ended = 0;

constexpr char fileText[] = "1000\n";

struct Mount {
    std::string place;
    int device;
    bool isFile;
    bool ready = false; // the kernel and this program have greeted each other
};

int skip(const std::string &reason) {
    std::fprintf(stderr, "zel_test_fuse: %s: %s\n", reason.c_str(), std::strerror(errno));
    return exitSkipped;
}

// Compared with the namespace of the first process, which may be hidden: then it is another one.
bool inTheNamespaceOfTheMachine() {
    char own[PATH_MAX] = {};
    char first[PATH_MAX] = {};
    return readlink("/proc/self/ns/mnt", own, sizeof(own) - 1) > 0 &&
           readlink("/proc/1/ns/mnt", first, sizeof(first) - 1) > 0 && std::strcmp(own, first) == 0;
}

void reply(int device, const fuse_in_header &request, int error, const void *answer, std::size_t size) {
    fuse_out_header header{};
    header.len = static_cast<unsigned>(sizeof(header) + size);
    header.error = -error;
    header.unique = request.unique;
    iovec parts[] = {{&header, sizeof(header)}, {const_cast<void *>(answer), size}};
    const ssize_t ignored = writev(device, parts, size == 0 ? 1 : 2); // an interrupted request wants no answer
    static_cast<void>(ignored);
}

void greet(int device, const fuse_in_header &request) {
    fuse_init_out answer{};
    answer.major = FUSE_KERNEL_VERSION;
    answer.minor = FUSE_KERNEL_MINOR_VERSION;
    answer.max_write = 4096;
    reply(device, request, 0, &answer, sizeof(answer));
}

void describeRoot(const Mount &mount, const fuse_in_header &request) {
    fuse_attr_out answer{};
    answer.attr.ino = FUSE_ROOT_ID;
    answer.attr.mode = mount.isFile ? S_IFREG | 0644 : S_IFDIR | 0755;
    answer.attr.size = mount.isFile ? sizeof(fileText) - 1 : 0;
    answer.attr.nlink = mount.isFile ? 1 : 2;
    reply(mount.device, request, 0, &answer, sizeof(answer));
}

void openFile(const Mount &mount, const fuse_in_header &request) {
    fuse_open_in wanted{};
    std::memcpy(&wanted, &request + 1, sizeof(wanted));
    fuse_open_out answer{};
    if ((wanted.flags & O_ACCMODE) == O_RDONLY)
        answer.open_flags = FOPEN_DIRECT_IO; // nothing is answered from memory
    reply(mount.device, request, mount.isFile ? 0 : ENOSYS, &answer, mount.isFile ? sizeof(answer) : 0);
}

void readFile(const Mount &mount, const fuse_in_header &request) {
    fuse_read_in wanted{};
    std::memcpy(&wanted, &request + 1, sizeof(wanted));
    const std::size_t size = wanted.offset == 0 ? std::min<std::size_t>(wanted.size, sizeof(fileText) - 1) : 0;
    reply(mount.device, request, 0, fileText, size);
}

void writeFile(const Mount &mount, const fuse_in_header &request) {
    fuse_write_in wanted{};
    std::memcpy(&wanted, &request + 1, sizeof(wanted));
    fuse_write_out answer{};
    answer.size = wanted.size;
    reply(mount.device, request, 0, &answer, sizeof(answer));
}

// 524288 blocks of 4096 bytes: 2097152 KB; half of it free, a quarter available; 1000 inodes, 900 free.
void tellSizes(int device, const fuse_in_header &request) {
    fuse_statfs_out answer{};
    answer.st.bsize = answer.st.frsize = 4096;
    answer.st.blocks = 524288;
    answer.st.bfree = 262144;
    answer.st.bavail = 131072;
    answer.st.files = 1000;
    answer.st.ffree = 900;
    answer.st.namelen = 255;
    reply(device, request, 0, &answer, sizeof(answer));
}

void serve(Mount &mount, const fuse_in_header &request) {
    switch (request.opcode) {
    case FUSE_INIT:
        greet(mount.device, request);
        mount.ready = true;
        return;
    case FUSE_GETATTR:
        return describeRoot(mount, request);
    case FUSE_OPEN:
        return openFile(mount, request);
    case FUSE_READ:
        return readFile(mount, request);
    case FUSE_WRITE:
        return writeFile(mount, request);
    case FUSE_STATFS:
        return tellSizes(mount.device, request);
    case FUSE_LOOKUP:
        return reply(mount.device, request, ENOENT, nullptr, 0);
    case FUSE_FORGET:
    case FUSE_BATCH_FORGET:
    case FUSE_INTERRUPT:
        return; // want no answer
    default:
        return reply(mount.device, request, ENOSYS, nullptr, 0);
    }
}

// False when the mount is gone.
bool serveOne(Mount &mount) {
    alignas(fuse_in_header) static char request[requestSize];
    const ssize_t size = read(mount.device, request, sizeof(request));
    if (size < 0)
        return errno == EINTR || errno == EAGAIN || errno == ENOENT;
    if (size >= static_cast<ssize_t>(sizeof(fuse_in_header)))
        serve(mount, *reinterpret_cast<const fuse_in_header *>(request));
    return true;
}

bool mountAt(const char *place, std::vector<Mount> &mounts) {
    struct stat status {};
    const bool isFile = stat(place, &status) == 0 && S_ISREG(status.st_mode);
    const int device = open("/dev/fuse", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    if (device < 0)
        return false;
    const std::string options = "fd=" + std::to_string(device) + ",rootmode=" + (isFile ? "100000" : "40000") +
                                ",user_id=" + std::to_string(getuid()) + ",group_id=" + std::to_string(getgid());
    if (mount("zel_test_fuse", place, "fuse.zeltest", MS_NOSUID | MS_NODEV, options.c_str()) != 0)
        return false;
    mounts.push_back({place, device, isFile});
    return true;
}

void unmountAll(const std::vector<Mount> &mounts) {
    for (const Mount &mount : mounts)
        umount2(mount.place.c_str(), MNT_DETACH);
}

// Runs the command beside the server; its end ends the server.
pid_t start(char **command) {
    const pid_t child = fork();
    if (child != 0)
        return child;
    setenv("ZEL_TEST_FUSE", std::to_string(getppid()).c_str(), 1);
    execvp(command[0], command);
    std::perror(command[0]);
    _exit(127);
}

// Serves the mounts; once all of them work, `whenReady` is called.
template<class WhenReady> void serveAll(std::vector<Mount> &mounts, WhenReady whenReady) {
    std::vector<pollfd> devices;
    for (const Mount &mount : mounts)
        devices.push_back({mount.device, POLLIN, 0});
    for (bool toldReady = false; ended == 0;) {
        if (poll(devices.data(), devices.size(), pollMilliseconds) < 0) {
            if (errno != EINTR)
                return;
            continue;
        }
        bool allReady = true;
        for (std::size_t i = 0; i < devices.size(); ++i) {
            if (devices[i].revents != 0 && !serveOne(mounts[i]))
                devices[i].fd = -1;
            allReady = allReady && mounts[i].ready;
        }
        if (allReady && !toldReady)
            whenReady();
        toldReady = toldReady || allReady;
    }
}

int statusOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int serveCommand(std::vector<Mount> &mounts, char **command) {
    pid_t child = -1;
    serveAll(mounts, [&child, command] { child = start(command); });
    if (child == -1)
        return exitSkipped;
    kill(child, SIGTERM); // when it was not the command that ended the server
    unmountAll(mounts);
    return statusOf(child);
}

int serveUntilEnded(std::vector<Mount> &mounts) {
    serveAll(mounts, [] {
        std::puts("ready");
        std::fflush(stdout);
    });
    unmountAll(mounts);
    return 0;
}

bool enterOwnNamespace() {
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace

int main(int argc, char **argv) {
    int directories = 1;
    while (directories < argc && std::strcmp(argv[directories], "--") != 0)
        ++directories;
    char **command = directories < argc ? argv + directories + 1 : nullptr;
    if (directories == 1 || (command != nullptr && *command == nullptr))
        return std::fputs("Usage: zel_test_fuse PLACE... [-- COMMAND...]\n", stderr), 2;
    struct sigaction action {};
    action.sa_handler = [](int) { ended = 1; };
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGCHLD, &action, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL); // also while it is stopped
    if (command != nullptr && !enterOwnNamespace())
        return skip("cannot make a mount namespace");
    if (command == nullptr && inTheNamespaceOfTheMachine()) {
        errno = EPERM;
        return skip("needs a mount namespace of its own");
    }
    std::vector<Mount> mounts;
    for (int i = 1; i < directories; ++i) {
        if (!mountAt(argv[i], mounts)) {
            const int status = skip(std::string("cannot mount at ") + argv[i]);
            unmountAll(mounts);
            return status;
        }
    }
    return command != nullptr ? serveCommand(mounts, command) : serveUntilEnded(mounts);
}
