// The list of what is repaired in the child of a fork.
#include "threads/ForkRepair.h"

#include <mutex>
#include <pthread.h>

namespace zel {

// The lock is held for a few instructions at a time: the one that fork() may wait for.
struct ForkRepairs {
    std::mutex lock;
    ForkRepair *first = nullptr;
    ForkRepair *last = nullptr;

    static ForkRepairs &all() {
        static ForkRepairs *const repairs = make(); // outlives every static object
        return *repairs;
    }

    void add(ForkRepair &repair) {
        const std::lock_guard held(lock);
        repair.m_previous = last;
        (last == nullptr ? first : last->m_next) = &repair;
        last = &repair;
    }

    void remove(const ForkRepair &repair) {
        const std::lock_guard held(lock);
        (repair.m_previous == nullptr ? first : repair.m_previous->m_next) = repair.m_next;
        (repair.m_next == nullptr ? last : repair.m_next->m_previous) = repair.m_previous;
    }

private:
    static ForkRepairs *make() {
        // Without memory for the handlers the children of this process are as they were without them.
        pthread_atfork([] { all().lock.lock(); }, [] { all().lock.unlock(); }, repairChild);
        return new ForkRepairs;
    }

    static void repairChild() {
        for (const ForkRepair *repair = all().first; repair != nullptr; repair = repair->m_next)
            repair->m_repair(repair->m_object);
        all().lock.unlock();
    }
};

ForkRepair::ForkRepair(void (*repair)(void *object), void *object) : m_repair(repair), m_object(object) {
    ForkRepairs::all().add(*this);
}

ForkRepair::~ForkRepair() {
    ForkRepairs::all().remove(*this);
}

} // namespace zel
