// The names of a directory and the files in it.
#include "host/DirectoryWalk.h"

#include "Faults.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

std::set<std::string> namesIn(const std::string &path) {
    std::set<std::string> names;
    zel::DirectoryRoom<32768> room;
    zel::DirectoryWalk directory(path.c_str(), room);
    while (const char *name = directory.next())
        EXPECT_TRUE(names.insert(name).second) << name;
    return names;
}

} // namespace

TEST(DirectoryWalk, GivesEveryNameOnceAlsoBeyondOneBuffer) {
    TempDirectory directory;
    std::set<std::string> expected = {".", ".."};
    for (int i = 0; i < 600; ++i) {
        const std::string name = std::string(100, 'n') + std::to_string(i);
        directory.write(name, "");
        expected.insert(name);
    }
    EXPECT_EQ(namesIn(directory.path().string()), expected);
}

TEST(DirectoryWalk, FilesAreOpenedRelativeToIt) {
    TempDirectory directory;
    directory.write("file", "text");
    zel::DirectoryRoom<512> room;
    const zel::DirectoryWalk walk(directory.path().c_str(), room);
    ASSERT_TRUE(walk.isOpen());
    const zel::ScopedDescriptor file(openat(walk.descriptor(), "file", O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(file.valid());
}

TEST(DirectoryWalk, MissingDirectoryAndFileHaveNoNames) {
    TempDirectory directory;
    directory.write("file", "text");
    for (const char *name : {"absent", "file"}) {
        zel::DirectoryRoom<512> room;
        zel::DirectoryWalk walk((directory.path() / name).c_str(), room);
        EXPECT_FALSE(walk.isOpen());
        EXPECT_EQ(walk.next(), nullptr);
    }
}

TEST(DirectoryWalk, TellsWhatEndedItBeforeTheLastName) {
    TempDirectory directory;
    zel::DirectoryRoom<512> room;
    zel::DirectoryWalk walk(directory.path().c_str(), room);
    const Fault fault(Call::Getdents, 1);
    EXPECT_EQ(walk.next(), nullptr);
    EXPECT_NE(walk.error(), 0);
}

TEST(DirectoryWalk, TellsNoErrorAfterTheLastName) {
    TempDirectory directory;
    directory.write("file", "");
    zel::DirectoryRoom<512> room;
    zel::DirectoryWalk walk(directory.path().c_str(), room);
    while (walk.next() != nullptr) {
    }
    EXPECT_EQ(walk.error(), 0);
}
