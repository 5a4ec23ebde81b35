// What is repaired in the child of a fork.
#include "threads/ForkRepair.h"

#include "OwnProcess.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// What the repairs of this file have seen, in their order.
std::vector<int> &repaired() {
    static std::vector<int> numbers;
    return numbers;
}

struct Numbered {
    explicit Numbered(int value) : number(value) {}
    int number;
    zel::ForkRepair repair{[](void *object) { repaired().push_back(static_cast<Numbered *>(object)->number); }, this};
};

TEST(ForkRepair, RunsInTheChildAloneInTheOrderOfMaking) {
    repaired().clear();
    const Numbered one(1);
    auto gone = std::make_unique<Numbered>(2);
    const Numbered three(3);
    auto last = std::make_unique<Numbered>(4);
    gone.reset();
    last.reset();
    const Numbered five(5);
    EXPECT_TRUE(trueInChild([] { return repaired() == std::vector<int>{1, 3, 5}; }));
    EXPECT_TRUE(repaired().empty()) << "nothing happens in the parent";
}

TEST(ForkRepair, ChildMakesAndRemovesRepairsAndForksItself) {
    repaired().clear();
    const Numbered one(1);
    EXPECT_TRUE(trueInChild([] {
        const Numbered two(2);
        return trueInChild([] { return repaired() == std::vector<int>{1, 1, 2}; });
    }));
}

TEST(ForkRepair, LockThatAnotherThreadHoldsIsFreeInTheChild) {
    struct Locked {
        std::mutex lock;
        zel::ForkRepair repair{[](void *object) { zel::renew(static_cast<Locked *>(object)->lock); }, this};
    } locked;
    std::atomic<bool> inside{false};
    std::atomic<bool> mayEnd{false};
    std::thread other([&] {
        const std::lock_guard held(locked.lock);
        inside = true;
        while (!mayEnd)
            usleep(1000);
    });
    while (!inside)
        usleep(1000);
    EXPECT_TRUE(trueInChild([&] {
        const std::lock_guard held(locked.lock);
        return true;
    }));
    mayEnd = true;
    other.join();
}

} // namespace
