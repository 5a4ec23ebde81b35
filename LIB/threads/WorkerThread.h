// What the threads of the runtime have in common: signals, cancellation, start, and the link to their owner.
//
// A worker is a detached thread that works for an object. Either may end first: the two share a link, and the object
// leaves it under its lock when it goes. A worker that wakes up after that finds no owner and ends.
//
// A cancel request to a worker is accepted at any time. It takes effect where the thread holds nothing that others wait
// for: in its pauses, and while an outside command runs.
#pragma once

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>

namespace zel {

template<typename Owner> struct WorkerLink {
    std::mutex lock; // held while the worker uses the owner
    Owner *owner;    // null when it has gone

    explicit WorkerLink(Owner *object) : owner(object) {}
};

template<typename Owner> using SharedLink = std::shared_ptr<WorkerLink<Owner>>;

/// Defers cancellation of the calling thread while it lives.
class CancellationHeld {
public:
    CancellationHeld() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_previous); }
    ~CancellationHeld() { pthread_setcancelstate(m_previous, nullptr); }
    CancellationHeld(const CancellationHeld &) = delete;
    CancellationHeld &operator=(const CancellationHeld &) = delete;

private:
    int m_previous = PTHREAD_CANCEL_ENABLE;
};

/// Calls `use` with the owner of the link, which cannot go meanwhile. False when it has gone.
template<typename Owner, typename Use> bool withOwner(WorkerLink<Owner> &link, Use use) {
    const CancellationHeld cancellation;
    const std::lock_guard held(link.lock);
    if (link.owner == nullptr)
        return false;
    use(*link.owner);
    return true;
}

/// Blocks every signal of the calling thread, and so of the threads that it starts, while it lives.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_previous);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;

private:
    sigset_t m_previous{};
};

/// Starts `routine` as a detached thread, with a stack of the usual size or of `stackSize` bytes. Returns 0 or the
/// error number.
inline int startDetachedThread(void *(*routine)(void *), void *argument, std::size_t stackSize = 0) {
    pthread_attr_t attributes;
    if (const int error = pthread_attr_init(&attributes); error != 0)
        return error;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (stackSize > 0)
        pthread_attr_setstacksize(&attributes, stackSize);
    pthread_t thread{};
    const int error = pthread_create(&thread, &attributes, routine, argument);
    pthread_attr_destroy(&attributes);
    return error;
}

/// Starts a detached thread that runs `Work` with its own reference to the link. Returns 0 or the error number.
template<auto Work, typename Owner> int startWorker(const SharedLink<Owner> &link) {
    auto reference = std::unique_ptr<SharedLink<Owner>>(new (std::nothrow) SharedLink<Owner>(link));
    if (reference == nullptr)
        return ENOMEM;
    const auto routine = [](void *argument) -> void * {
        const std::unique_ptr<SharedLink<Owner>> own(static_cast<SharedLink<Owner> *>(argument));
        Work(*own);
        return nullptr;
    };
    const int error = startDetachedThread(routine, reference.get());
    if (error == 0)
        static_cast<void>(reference.release());
    return error;
}

} // namespace zel
