// The message queue: order, limit, waiting and cancelled readers.
#include "Queue.h"

#include "Cancellation.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace {

TEST(MessageQueue, GivesMessagesInTheirOrder) {
    Queue<int *> queue;
    int a = 0;
    int b = 0;
    EXPECT_EQ(queue.getCount(), 0);
    EXPECT_TRUE(queue.push(&a));
    EXPECT_TRUE(queue.push(&b));
    EXPECT_EQ(queue.getCount(), 2);
    EXPECT_EQ(queue.pop(), &a);
    EXPECT_EQ(queue.pop(), &b);
    EXPECT_EQ(queue.getCount(), 0);
}

TEST(MessageQueue, HoldsNullMessages) {
    Queue<int *> queue;
    queue.push(nullptr);
    EXPECT_EQ(queue.getCount(), 1);
    EXPECT_EQ(queue.pop(), nullptr);
    EXPECT_EQ(queue.getCount(), 0);
}

TEST(MessageQueue, PushBelowStopsAtItsLimit) {
    Queue<int *> queue;
    int a = 0;
    EXPECT_TRUE(queue.pushBelow(&a, 2));
    EXPECT_TRUE(queue.pushBelow(&a, 2));
    EXPECT_FALSE(queue.pushBelow(&a, 2));
    EXPECT_EQ(queue.getCount(), 2);
}

TEST(MessageQueue, PopThatIsWokenToAnEmptyListGivesNull) {
    Queue<int *> queue;
    int marker = 0;
    std::atomic<int *> popped{&marker};
    std::thread reader([&] { popped = queue.pop(); });
    // Nothing tells when the reader waits: wake it until it has come back.
    while (popped == &marker) {
        pthread_cond_broadcast(&queue._cond);
        usleep(1000);
    }
    reader.join();
    EXPECT_EQ(popped, nullptr);
}

TEST(MessageQueue, OnlyAPushToAListThatHeldMessagesWakesAReader) {
    Queue<int *> queue;
    int a = 0;
    int b = 0;
    std::atomic<int *> popped{nullptr};
    std::thread reader([&] { popped = queue.pop(); });
    usleep(50000); // the reader waits on the condition
    queue.push(&a);
    usleep(50000);
    EXPECT_EQ(popped, nullptr) << "the first message wakes nobody";
    queue.push(&b);
    reader.join();
    EXPECT_EQ(popped, &a);
    EXPECT_EQ(queue.getCount(), 1);
}

TEST(MessageQueue, CancelledReaderLeavesTheQueueUsable) {
    SKIP_WHERE_CANCELLATION_IS_NOT_FOLLOWED();
    Queue<int *> queue;
    pthread_t reader{};
    const auto wait = [](void *argument) -> void * { return static_cast<Queue<int *> *>(argument)->pop(); };
    ASSERT_EQ(pthread_create(&reader, nullptr, wait, &queue), 0);
    usleep(20000);
    ASSERT_EQ(pthread_cancel(reader), 0);
    void *result = nullptr;
    ASSERT_EQ(pthread_join(reader, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(queue.getCount(), 0);
    int a = 0;
    queue.push(&a);
    EXPECT_EQ(queue.pop(), &a);
}

TEST(MessageQueue, KeepsItsLimitUnderManyWriters) {
    Queue<int *> queue;
    constexpr int limit = 100;
    std::atomic<int> accepted{0};
    int a = 0;
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&] {
            for (int i = 0; i < 1000; ++i)
                accepted += queue.pushBelow(&a, limit) ? 1 : 0;
        });
    for (std::thread &writer : writers)
        writer.join();
    EXPECT_EQ(accepted, limit);
    EXPECT_EQ(queue.getCount(), limit);
}

} // namespace
