// The budget of kernel files that stay open.
#include "host/Sampler.h"
#include "host/source/HostDirectory.h"

#include "TempDirectory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using zel::KeptBudget;
using zel::KeptDescriptor;
using zel::ScopedDescriptor;

ScopedDescriptor nothing() {
    return ScopedDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

TEST(KeptBudget, GivesAsManyPlacesAsItHas) {
    KeptBudget budget(2);
    EXPECT_TRUE(budget.take());
    EXPECT_TRUE(budget.take());
    EXPECT_FALSE(budget.take());
    budget.giveBack();
    EXPECT_TRUE(budget.take());
    EXPECT_EQ(budget.taken(), 2);
}

TEST(KeptBudget, NoneOrANegativeNumberKeepsNothing) {
    EXPECT_FALSE(KeptBudget(0).take());
    EXPECT_FALSE(KeptBudget(-2).take());
}

TEST(KeptBudget, DefaultIsAQuarterOfTheSoftLimit) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit lowered = before;
    lowered.rlim_cur = 200;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
    EXPECT_EQ(KeptBudget(zel::KEPT_FILES_DEFAULT).limit(), 50);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST(KeptBudget, BelowADirectoryNothingIsKept) {
    const TempDirectory directory;
    const zel::HostDirectory root(directory.path(), 100);
    EXPECT_EQ(root.kept().limit(), 0);
    const zel::HostDirectory own("", 100);
    EXPECT_EQ(own.kept().limit(), 100);
}

TEST(KeptDescriptor, HoldsAPlaceWhileItIsOpen) {
    KeptBudget budget(1);
    int number = -1;
    {
        KeptDescriptor kept;
        ASSERT_TRUE(kept.keep(nothing(), budget));
        number = kept.descriptor();
        EXPECT_EQ(budget.taken(), 1);
        ASSERT_TRUE(kept.keep(nothing(), budget)) << "its own place is free for the next file";
        EXPECT_EQ(budget.taken(), 1);
    }
    EXPECT_EQ(budget.taken(), 0);
    EXPECT_FALSE(isOpen(number));
}

TEST(KeptDescriptor, ClosesAFileThatFindsNoPlace) {
    KeptBudget budget(0);
    KeptDescriptor kept;
    ScopedDescriptor file = nothing();
    const int number = file.get();
    EXPECT_FALSE(kept.keep(std::move(file), budget));
    EXPECT_FALSE(kept.valid());
    EXPECT_FALSE(isOpen(number));
}

TEST(KeptDescriptor, MovesWithItsPlace) {
    KeptBudget budget(2);
    KeptDescriptor one;
    ASSERT_TRUE(one.keep(nothing(), budget));
    KeptDescriptor other(std::move(one));
    EXPECT_FALSE(one.valid()); // NOLINT(bugprone-use-after-move): what is left is stated
    EXPECT_TRUE(other.valid());
    one = std::move(other);
    EXPECT_TRUE(one.valid());
    one.drop();
    EXPECT_EQ(budget.taken(), 0);
}

} // namespace
