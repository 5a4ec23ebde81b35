// The file functions.
#include "NGFunctions.h"
#include "OwnProcess.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

mode_t modeOf(const std::string &path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

// Modes are given without a mask.
class Unmasked {
public:
    Unmasked() : m_previous(umask(0)) {}
    ~Unmasked() { umask(m_previous); }
    Unmasked(const Unmasked &) = delete;
    Unmasked &operator=(const Unmasked &) = delete;

private:
    mode_t m_previous;
};

void failDirectoriesWith(int error) {
    systemHooks().opendir = [error](const char *) -> DIR * {
        errno = error;
        return nullptr;
    };
}

// A kernel file cannot be removed anyhow: the attempt itself fails the test.
void refuseRemovals() {
    systemHooks().unlink = [](const char *path) {
        ADD_FAILURE() << "removes " << path;
        return 0;
    };
}

// --- Pass-throughs -------------------------------------------------------------------------------------------------

TEST(FilePassThrough, OpensAndCloses) {
    const ScratchHome home;
    EXPECT_EQ(fgInitFP(), 1);

    std::FILE *file = fgND_FOPEN("note.txt", "w");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fputs("text", file), 1);
    EXPECT_EQ(fgND_FCLOSE(file), 0);
    fgNPrintFP();

    EXPECT_EQ(home.read("agent/bin/note.txt"), "text");
    EXPECT_EQ(fgND_FOPEN("missing.txt", "r"), nullptr);
    EXPECT_EQ(fgND_FCLOSE(nullptr), EOF);
}

// --- fgFindFileName ------------------------------------------------------------------------------------------------

TEST(FindFileName, GivesTheNameThatMatches) {
    const ScratchHome home;
    home.write("agent/bin/agent.conf", "");
    home.write("agent/bin/agent_1.log", "");
    char name[256] = "unset";

    EXPECT_EQ(fgFindFileName("*.log", name), 1);
    EXPECT_STREQ(name, "agent_1.log");
    EXPECT_EQ(fgFindFileName("agent.c?n[a-f]", name), 1);
    EXPECT_STREQ(name, "agent.conf");
    EXPECT_EQ(fgFindFileName("agent_1.log", name), 1);
}

TEST(FindFileName, GivesOneOfSeveral) {
    const ScratchHome home;
    home.write("agent/bin/a.log", "");
    home.write("agent/bin/b.log", "");
    char name[256] = "unset";

    EXPECT_EQ(fgFindFileName("?.log", name), 1);
    EXPECT_TRUE(std::strcmp(name, "a.log") == 0 || std::strcmp(name, "b.log") == 0) << name;
}

TEST(FindFileName, PassesNamesOverThatBeginWithADot) {
    const ScratchHome home;
    home.write("agent/bin/.hidden.log", "");
    char name[256] = "unset";

    EXPECT_EQ(fgFindFileName("*.log", name), 0);
    EXPECT_EQ(fgFindFileName(".*", name), 0);
    EXPECT_EQ(fgFindFileName("..", name), 0);
    EXPECT_STREQ(name, "unset");
}

TEST(FindFileName, TakesTheLongestName) {
    const ScratchHome home;
    const std::string longest(255, 'n');
    home.write("agent/bin/" + longest, "");
    char name[256] = "unset";

    EXPECT_EQ(fgFindFileName("nnn*", name), 1);
    EXPECT_EQ(name, longest);
}

TEST(FindFileName, UnreadableDirectoryGivesZero) {
    failDirectoriesWith(EACCES);
    char name[256] = "unset";

    EXPECT_EQ(fgFindFileName("*", name), 0);
    EXPECT_STREQ(name, "unset");
}

// --- fgMakeDirectory -----------------------------------------------------------------------------------------------

TEST(MakeDirectory, MakesTheDirectoryAndItsParents) {
    const ScratchHome home;
    const Unmasked unmasked;

    EXPECT_EQ(fgMakeDirectory("one/two/three/"), 1);

    for (const char *path : {"one", "one/two", "one/two/three"}) {
        EXPECT_TRUE(fs::is_directory(path)) << path;
        EXPECT_EQ(modeOf(path), 0770U) << path;
    }
}

TEST(MakeDirectory, PathWithoutAParentIsMadeInTheWorkingDirectory) {
    const ScratchHome home;

    EXPECT_EQ(fgMakeDirectory("one/"), 1);
    EXPECT_EQ(fgMakeDirectory("two"), 1);
    EXPECT_EQ(fgMakeDirectory("x"), 1);

    for (const char *path : {"one", "two", "x"})
        EXPECT_TRUE(fs::is_directory(path)) << path;
}

TEST(MakeDirectory, AbsolutePathsAndDoubledSlashesWork) {
    const ScratchHome home;
    const std::string path = home.path().string() + "/one//two///";

    EXPECT_EQ(fgMakeDirectory(path.c_str()), 1);

    EXPECT_TRUE(home.exists("one/two"));
    EXPECT_EQ(fgMakeDirectory("/"), 1);
}

TEST(MakeDirectory, DirectoryThatIsThereIsLeftAlone) {
    const ScratchHome home;
    const StreamCapture streams;
    fs::create_directory("there");
    chmod("there", 0700);

    EXPECT_EQ(fgMakeDirectory("there/"), 1);

    EXPECT_EQ(modeOf("there"), 0700U);
    EXPECT_EQ(streams.err(), "");
}

TEST(MakeDirectory, FailedCreationIsToldOnStandardError) {
    const ScratchHome home;
    const StreamCapture streams;
    fs::create_symlink("nowhere", "dangling");

    EXPECT_EQ(fgMakeDirectory("dangling"), -1);

    EXPECT_EQ(streams.err(), "mkdir fail[dangling][File exists]");
    EXPECT_EQ(streams.out(), "");
}

TEST(MakeDirectory, FailedParentFailsWhatIsBelowIt) {
    const ScratchHome home;
    const StreamCapture streams;
    home.write("agent/bin/file", "");
    failDirectoriesWith(ENOENT);

    EXPECT_EQ(fgMakeDirectory("file/below/"), -1);

    EXPECT_EQ(streams.err(), "mkdir fail[file/][File exists]mkdir fail[file/below/][Not a directory]");
}

TEST(MakeDirectory, EmptyPathFails) {
    const ScratchHome home;
    const StreamCapture streams;

    EXPECT_EQ(fgMakeDirectory(""), -1);

    EXPECT_EQ(streams.err(), "mkdir fail[][No such file or directory]");
}

TEST(MakeDirectory, ParentThatMustNotBeReadDoesNotStopTheCreation) {
    const ScratchHome home;
    fs::create_directory("closed");
    // As an ordinary user finds it: a directory that may be entered but not listed.
    systemHooks().opendir = [](const char *path) -> DIR * {
        errno = std::string(path) == "closed/" ? EACCES : ENOENT;
        return nullptr;
    };

    EXPECT_EQ(fgMakeDirectory("closed/below/"), 1);

    EXPECT_TRUE(fs::is_directory("closed/below"));
}

TEST(MakeDirectory, OtherFailuresToOpenGiveMinusOneInSilence) {
    const ScratchHome home;
    const StreamCapture streams;
    home.write("agent/bin/file", "");

    EXPECT_EQ(fgMakeDirectory("file/"), -1); // not a directory
    EXPECT_EQ(fgMakeDirectory((std::string(300, 'n') + "/").c_str()), -1);
    EXPECT_EQ(fgMakeDirectory(std::string(1000000, 'n').c_str()), -1);
    failDirectoriesWith(EACCES);
    EXPECT_EQ(fgMakeDirectory("any/"), -1);

    EXPECT_EQ(streams.err(), "");
}

TEST(MakeDirectory, OperationNotPermittedCountsAsThere) {
    failDirectoriesWith(EPERM);

    EXPECT_EQ(fgMakeDirectory("any/"), 1);
}

TEST(MakeDirectory, PathsUpToTheLimitOfTheSystemAreMade) {
    const ScratchHome home;
    std::string path;
    while (path.size() < 3900)
        path += std::string(199, 'd') + "/";

    EXPECT_EQ(fgMakeDirectory(path.c_str()), 1);

    EXPECT_EQ(access(path.c_str(), F_OK), 0);
}

// --- fgFileMove ----------------------------------------------------------------------------------------------------

TEST(FileMove, CopiesTheContentsAndRemovesTheSource) {
    // around the piece of 1023 bytes
    for (const std::size_t size : {0U, 1U, 1022U, 1023U, 1024U, 2046U, 2047U, 100000U}) {
        const ScratchHome home;
        std::string text(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            text[i] = static_cast<char>(i * 7);
        home.write("agent/bin/from", text);

        EXPECT_EQ(fgFileMove("from", "to"), 1) << size;

        EXPECT_TRUE(home.read("agent/bin/to") == text) << size;
        EXPECT_FALSE(home.exists("agent/bin/from")) << size;
    }
}

TEST(FileMove, OverwritesALongerTarget) {
    const ScratchHome home;
    home.write("agent/bin/from", "new");
    home.write("agent/bin/to", "old and longer");

    EXPECT_EQ(fgFileMove("from", "to"), 1);

    EXPECT_EQ(home.read("agent/bin/to"), "new");
}

TEST(FileMove, KeepsThePermissions) {
    const ScratchHome home;
    const Unmasked unmasked;
    home.write("agent/bin/from", "secret");
    chmod("from", 0600);

    EXPECT_EQ(fgFileMove("from", "to"), 1);

    EXPECT_EQ(modeOf("to"), 0600U);
}

TEST(FileMove, MissingSourceGivesZeroAndMakesNoTarget) {
    const ScratchHome home;

    EXPECT_EQ(fgFileMove("missing", "to"), 0);

    EXPECT_FALSE(home.exists("agent/bin/to"));
}

TEST(FileMove, TargetThatCannotBeOpenedKeepsTheSource) {
    const ScratchHome home;
    home.write("agent/bin/from", "text");

    EXPECT_EQ(fgFileMove("from", "missing/to"), 0);
    EXPECT_EQ(fgFileMove("from", "."), 0);

    EXPECT_EQ(home.read("agent/bin/from"), "text");
}

TEST(FileMove, FailedWriteKeepsTheSource) {
    const ScratchHome home;
    home.write("agent/bin/from", "text");

    EXPECT_EQ(fgFileMove("from", "/dev/full"), 0);

    EXPECT_EQ(home.read("agent/bin/from"), "text");
}

TEST(FileMove, FailedReadKeepsTheSource) {
    const ScratchHome home;
    refuseRemovals();

    EXPECT_EQ(fgFileMove("/proc/self/mem", "to"), 0); // nothing is mapped at its beginning
}

TEST(FileMove, SourceLongerThanItsStatusSizeIsKept) {
    const ScratchHome home;
    refuseRemovals();

    EXPECT_EQ(fgFileMove("/proc/self/status", "to"), 0); // its status says 0 bytes
}

TEST(FileMove, SourceShorterThanItsStatusSizeIsKept) {
    const ScratchHome home;
    const char *attribute = "/sys/kernel/profiling"; // its status says a page
    if (access(attribute, R_OK) != 0)
        GTEST_SKIP() << "this kernel has no readable " << attribute;
    refuseRemovals();

    EXPECT_EQ(fgFileMove(attribute, "to"), 0);
}

TEST(FileMove, OntoItselfKeepsTheContents) {
    const ScratchHome home;
    home.write("agent/bin/from", "text");
    fs::create_hard_link("from", "link");

    EXPECT_EQ(fgFileMove("from", "./from"), 0);
    EXPECT_EQ(fgFileMove("from", "link"), 0);

    EXPECT_EQ(home.read("agent/bin/from"), "text");
}

TEST(FileMove, OnlyRegularFilesAreMoved) {
    const ScratchHome home;
    refuseRemovals();
    fs::create_directory("directory");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);

    EXPECT_EQ(fgFileMove("directory", "to"), 0);
    EXPECT_EQ(fgFileMove("pipe", "to"), 0); // opening it would wait for a writer
    EXPECT_EQ(fgFileMove("/dev/zero", "to"), 0);

    EXPECT_FALSE(home.exists("agent/bin/to"));
}

TEST(FileMove, SourceThatStaysGivesZero) {
    const ScratchHome home;
    // The command line of a process that has ended: an empty file that nobody can remove.
    const pid_t ended = fork();
    if (ended == 0)
        _exit(0);
    siginfo_t info{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT), 0);
    const std::string source = "/proc/" + std::to_string(ended) + "/cmdline";

    EXPECT_EQ(fgFileMove(source.c_str(), "to"), 0);

    EXPECT_EQ(home.read("agent/bin/to"), "");
    EXPECT_EQ(waitpid(ended, nullptr, 0), ended);
}

// --- fgTouchFile ---------------------------------------------------------------------------------------------------

TEST(TouchFile, ReplacesTheFileByAnEmptyReadOnlyOne) {
    const ScratchHome home;
    const Unmasked unmasked;
    home.write("agent/bin/mark", "old");
    fs::create_hard_link("mark", "old");

    EXPECT_EQ(fgTouchFile("mark"), 1);

    EXPECT_EQ(home.read("agent/bin/mark"), "");
    EXPECT_EQ(modeOf("mark"), 0444U);
    EXPECT_EQ(home.read("agent/bin/old"), "old") << "the old file was removed, not emptied";
}

TEST(TouchFile, MakesAMissingFileAndTouchesItAgain) {
    const ScratchHome home;

    EXPECT_EQ(fgTouchFile("mark"), 1);
    EXPECT_EQ(fgTouchFile("mark"), 1);

    EXPECT_EQ(home.read("agent/bin/mark"), "");
}

TEST(TouchFile, FailureGivesOneAsWell) {
    const ScratchHome home;

    EXPECT_EQ(fgTouchFile("missing/mark"), 1);
}

// The signal of a full file ends the program unless it is kept away.
TEST(FileMove, LimitOfFileSizesKeepsTheSourceAndEndsNoProgram) {
    const ScratchHome home;
    home.write("agent/bin/from", "longer than the limit");
    const auto body = [] {
        limitFileSize(3);
        EXPECT_EQ(fgFileMove("from", "to"), 0);
    };
    EXPECT_SURVIVED(body);
    EXPECT_EQ(home.read("agent/bin/from"), "longer than the limit");
}

} // namespace
