// Runs a body in a child that has given up the rights of root.
#include "OrdinaryUser.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;
constexpr int cannotChange = 77;

void giveTo(const std::filesystem::path &path, uid_t user) {
    EXPECT_EQ(lchown(path.c_str(), user, user), 0) << path;
}

} // namespace

void asOrdinaryUser(const ScratchHome &home, const std::function<void()> &body) {
    const bool root = getuid() == 0;
    if (root) {
        giveTo(home.path(), nobody);
        for (const auto &entry : std::filesystem::recursive_directory_iterator(home.path()))
            giveTo(entry.path(), nobody);
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (root && (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0))
            _exit(cannotChange);
        prctl(PR_SET_DUMPABLE, 1); // its files below /proc are its own again
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "as an ordinary user, see above; status " << status;
}
