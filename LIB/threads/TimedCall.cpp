#include "threads/TimedCall.h"

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>
#include <set>

namespace {

constexpr std::size_t threadStackSize = 512UL * 1024; // name resolution is the deepest work

using Keys = std::multiset<std::string>;

struct Call {
    std::function<void()> work;
    std::condition_variable finished;
    bool done = false;
    bool failed = false;        // the work found no memory
    Keys::node_type key;        // until the call is abandoned: to abandon one needs no memory
    Keys::iterator abandonedAs; // in the abandoned keys, once it is
    bool abandoned = false;
};

// Guards the states of all calls. Never destroyed: an abandoned call may end while the program does.
struct Calls {
    std::mutex mutex;
    Keys abandonedKeys;
};

Calls &calls() {
    static Calls *const all = new Calls;
    return *all;
}

void *runCall(void *argument) {
    const std::unique_ptr<std::shared_ptr<Call>> reference(static_cast<std::shared_ptr<Call> *>(argument));
    Call &call = **reference;
    bool failed = false;
    try {
        call.work();
    } catch (const std::bad_alloc &) { // it would end the program on its way out of the thread
        failed = true;
    }
    const std::lock_guard<std::mutex> lock(calls().mutex);
    call.done = true;
    call.failed = failed;
    if (call.abandoned)
        calls().abandonedKeys.erase(call.abandonedAs);
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

Keys::node_type keyNode(const std::string &key) {
    Keys keys{key};
    return keys.extract(keys.begin());
}

int callWithin(std::chrono::milliseconds limit, const std::string &key, std::function<void()> work) {
    {
        const std::lock_guard<std::mutex> lock(calls().mutex);
        if (calls().abandonedKeys.contains(key))
            return ETIMEDOUT;
        if (calls().abandonedKeys.size() >= zel::TIMED_CALL_MAX_ABANDONED)
            return EAGAIN;
    }
    const auto call = std::make_shared<Call>();
    call->key = keyNode(key);
    call->work = std::move(work);
    if (!startDetached(call))
        return EAGAIN;

    std::unique_lock<std::mutex> lock(calls().mutex);
    if (call->finished.wait_for(lock, limit, [&call] { return call->done; }))
        return call->failed ? ENOMEM : 0;
    call->abandonedAs = calls().abandonedKeys.insert(std::move(call->key));
    call->abandoned = true;
    return ETIMEDOUT;
}

} // namespace

namespace zel {

int runWithin(std::chrono::milliseconds limit, const std::string &key, std::function<void()> work) {
    try {
        return callWithin(limit, key, std::move(work));
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

int abandonedCalls() {
    const std::lock_guard<std::mutex> lock(calls().mutex);
    return static_cast<int>(calls().abandonedKeys.size());
}

} // namespace zel
