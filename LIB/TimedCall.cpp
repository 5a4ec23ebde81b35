#include "TimedCall.h"

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <set>

namespace {

constexpr std::size_t threadStackSize = 512UL * 1024; // name resolution is the deepest work

struct Call {
    std::string key;
    std::function<void()> work;
    std::condition_variable finished;
    bool done = false;
    bool abandoned = false;
};

// Guards the states of all calls. Never destroyed: an abandoned call may end while the program does.
struct Calls {
    std::mutex mutex;
    std::multiset<std::string> abandonedKeys;
};

Calls &calls() {
    static Calls *const all = new Calls;
    return *all;
}

void *runCall(void *argument) {
    const std::unique_ptr<std::shared_ptr<Call>> reference(static_cast<std::shared_ptr<Call> *>(argument));
    Call &call = **reference;
    call.work();
    const std::lock_guard<std::mutex> lock(calls().mutex);
    call.done = true;
    if (call.abandoned)
        calls().abandonedKeys.erase(calls().abandonedKeys.find(call.key));
    call.finished.notify_one();
    return nullptr;
}

// Blocks every signal of the calling thread, and so of the threads it starts, while it lives.
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

bool startDetached(const std::shared_ptr<Call> &call) {
    auto reference = std::make_unique<std::shared_ptr<Call>>(call);
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, threadStackSize);
    pthread_t thread{};
    int failure = 0;
    {
        const SignalsBlocked blocked;
        failure = pthread_create(&thread, &attributes, runCall, reference.get());
    }
    pthread_attr_destroy(&attributes);
    if (failure != 0)
        return false;
    static_cast<void>(reference.release()); // the thread owns it now
    return true;
}

} // namespace

namespace zel {

int runWithin(std::chrono::milliseconds limit, const std::string &key, std::function<void()> work) {
    {
        const std::lock_guard<std::mutex> lock(calls().mutex);
        if (calls().abandonedKeys.contains(key))
            return ETIMEDOUT;
        if (calls().abandonedKeys.size() >= TIMED_CALL_MAX_ABANDONED)
            return EAGAIN;
    }
    const auto call = std::make_shared<Call>();
    call->key = key;
    call->work = std::move(work);
    if (!startDetached(call))
        return EAGAIN;

    std::unique_lock<std::mutex> lock(calls().mutex);
    if (call->finished.wait_for(lock, limit, [&call] { return call->done; }))
        return 0;
    call->abandoned = true;
    calls().abandonedKeys.insert(key);
    return ETIMEDOUT;
}

int abandonedCalls() {
    const std::lock_guard<std::mutex> lock(calls().mutex);
    return static_cast<int>(calls().abandonedKeys.size());
}

} // namespace zel
