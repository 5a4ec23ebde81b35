// Counts the threads that start and end.
#include "ThreadWatch.h"

#include "SystemHooks.h"

#include <atomic>
#include <gtest/gtest.h>
#include <unistd.h>

extern "C" int __real_pthread_create(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);

struct ThreadWatch::Counts {
    std::atomic<int> started{0};
    std::atomic<int> running{0};
};

namespace {

// What a started thread carries: it counts itself out also when it is cancelled.
struct Started {
    std::shared_ptr<ThreadWatch::Counts> counts;
    void *(*routine)(void *);
    void *argument;

    ~Started() { --counts->running; }
};

void *runCounted(void *carried) {
    const std::unique_ptr<Started> started(static_cast<Started *>(carried));
    return started->routine(started->argument);
}

} // namespace

ThreadWatch::ThreadWatch() : m_counts(std::make_shared<Counts>()) {
    const std::shared_ptr<Counts> counts = m_counts;
    systemHooks().pthreadCreate = [counts](pthread_t *thread, const pthread_attr_t *attributes,
                                           void *(*routine)(void *), void *argument) {
        ++counts->started;
        ++counts->running;
        auto carried = std::make_unique<Started>(counts, routine, argument);
        const int error = __real_pthread_create(thread, attributes, runCounted, carried.get());
        if (error == 0)
            static_cast<void>(carried.release());
        return error;
    };
}

ThreadWatch::~ThreadWatch() {
    EXPECT_TRUE(allEnded(20000)) << running() << " threads are left behind";
    systemHooks().pthreadCreate = nullptr;
}

int ThreadWatch::started() const {
    return m_counts->started;
}

int ThreadWatch::running() const {
    return m_counts->running;
}

bool ThreadWatch::allEnded(int milliseconds) const {
    for (int waited = 0; running() > 0 && waited < milliseconds; ++waited)
        usleep(1000);
    return running() == 0;
}
