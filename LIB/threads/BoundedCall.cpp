// The calls that run, their threads, and the subjects that are silent.
#include "threads/BoundedCall.h"

#include "threads/ForkRepair.h"
#include "threads/WorkerThread.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <map>
#include <mutex>
#include <new>
#include <utility>

using zel::AnyBoundedCall;
using zel::Silence;
using Running = AnyBoundedCall::Running;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t threadStackSize = 512UL * 1024; // name resolution is the deepest work
constexpr std::size_t rememberedSubjects = 2UL * zel::BOUNDED_CALLS_AT_MOST;

// What is known of a subject. One that neither runs a call nor is or was silent is forgotten.
struct Subject {
    std::shared_ptr<Running> running;
    bool silent = false;
    bool silenceReported = false; // to a caller, and its end not yet
};

using Subjects = std::map<AnyBoundedCall::Key, Subject>;

// Never destroyed: a call that hangs may end while the program does.
struct Registry {
    std::mutex mutex;
    Subjects subjects;
    int running = 0;

    // The child of a fork has none of the threads: nothing runs, and what hung in the parent is asked again.
    void repair() {
        zel::renew(mutex);
        zel::renew(subjects);
        running = 0;
    }
    zel::ForkRepair forkRepair{[](void *registry) { static_cast<Registry *>(registry)->repair(); }, this};
};

Registry &registry() {
    static Registry *const only = new Registry;
    return *only;
}

// Made before there are threads: the child of a fork that another thread was making it in would wait for it for ever.
[[maybe_unused]] const Registry &registryAtStart = registry();

} // namespace

struct AnyBoundedCall::Running {
    std::function<int()> work;
    std::shared_ptr<void> answer;
    Time start;
    Time deadline;
    Subjects::iterator subject; // valid while the call runs
    std::condition_variable ended;
    bool done = false;
    int error = 0;
};

namespace {

void forgetWhenUnremarkable(Subjects::iterator place) {
    const Subject &subject = place->second;
    if (subject.running == nullptr && !subject.silent && !subject.silenceReported)
        registry().subjects.erase(place);
}

// Under the lock: what the end of a call says about its subject. An answer that comes too late is none.
void noteEnd(Running &call, int error) {
    const Clock::time_point now = Clock::now();
    const bool late = now > call.deadline;
    Subject &subject = call.subject->second;
    if (late || (error != 0 && now - call.start > zel::BOUNDED_CALL_PATIENCE))
        subject.silent = true;
    else if (error == 0)
        subject.silent = false;
    call.done = true;
    call.error = late ? ETIMEDOUT : error;
    call.ended.notify_all();
    subject.running = nullptr;
    --registry().running;
    forgetWhenUnremarkable(call.subject);
}

// Work that makes a bounded call itself: it is on a thread that may hang already, and needs no second one.
thread_local bool insideACall = false;

void runHere(Running &call) {
    int error = 0;
    try {
        error = call.work();
    } catch (const std::bad_alloc &) { // it would end the program on its way out of the thread
        error = ENOMEM;
    }
    const std::lock_guard<std::mutex> lock(registry().mutex);
    noteEnd(call, error);
}

void *runInThread(void *argument) {
    const std::unique_ptr<std::shared_ptr<Running>> call(static_cast<std::shared_ptr<Running> *>(argument));
    insideACall = true;
    runHere(**call);
    return nullptr;
}

// Takes the reference over when the thread starts.
bool startDetached(std::unique_ptr<std::shared_ptr<Running>> &reference) {
    const zel::SignalsBlocked blocked;
    if (zel::startDetachedThread(runInThread, reference.get(), threadStackSize) != 0)
        return false;
    static_cast<void>(reference.release());
    return true;
}

void run(std::unique_ptr<std::shared_ptr<Running>> &reference) {
    if (insideACall) {
        runHere(**reference);
    } else if (!startDetached(reference)) {
        const std::lock_guard<std::mutex> lock(registry().mutex);
        noteEnd(**reference, EAGAIN);
    }
}

// Under the lock. Silent subjects that nobody asks for any more (mounts that are gone) must not fill the memory. One
// that answers again goes first: a silent one that is forgotten would be waited for again.
void makeRoom(Subjects &subjects) {
    auto idle = subjects.end();
    for (auto place = subjects.begin(); place != subjects.end(); ++place) {
        if (place->second.running != nullptr)
            continue;
        if (!place->second.silent) {
            idle = place;
            break;
        }
        if (idle == subjects.end())
            idle = place;
    }
    if (idle != subjects.end())
        subjects.erase(idle);
}

// Under the lock.
Subjects::iterator subjectOf(const AnyBoundedCall::Key &key) {
    Subjects &subjects = registry().subjects;
    const auto known = subjects.find(key);
    if (known != subjects.end())
        return known;
    if (subjects.size() >= rememberedSubjects)
        makeRoom(subjects);
    return subjects.try_emplace(key).first;
}

// Under the lock. What a caller is to know of the silence; it counts as reported then.
Silence reportSilence(const AnyBoundedCall::Key &key, bool missed) {
    const auto place = registry().subjects.find(key);
    if (place == registry().subjects.end())
        return Silence::None;
    Subject &subject = place->second;
    subject.silent = subject.silent || missed;
    const bool reportedBefore = std::exchange(subject.silenceReported, subject.silent);
    const bool silent = subject.silent;
    forgetWhenUnremarkable(place);
    if (silent)
        return reportedBefore ? Silence::Lasts : Silence::Begins;
    return reportedBefore ? Silence::Ends : Silence::None;
}

// The system is not asked to wait for a time that is over: a pass over a thousand silent calls would take long.
bool endedBy(Running &call, std::unique_lock<std::mutex> &lock, AnyBoundedCall::Time end) {
    if (call.done || Clock::now() >= end)
        return call.done;
    return call.ended.wait_until(lock, end, [&call] { return call.done; });
}

} // namespace

namespace zel {

AnyBoundedCall::AnyBoundedCall(Key key, std::chrono::nanoseconds limit, std::shared_ptr<void> answer,
                               std::function<int()> work)
    : m_key(std::move(key)) {
    const auto call = std::make_shared<Running>();
    auto reference = std::make_unique<std::shared_ptr<Running>>(call);
    call->work = std::move(work);
    call->answer = std::move(answer);
    {
        const std::lock_guard<std::mutex> lock(registry().mutex);
        const Subjects::iterator place = subjectOf(m_key);
        Subject &subject = place->second;
        if (subject.running == nullptr && registry().running < BOUNDED_CALLS_AT_MOST) {
            call->start = Clock::now();
            call->deadline = call->start + limit;
            call->subject = place;
            subject.running = call;
            ++registry().running;
        }
        m_call = subject.running;
        if (m_call == nullptr) {
            forgetWhenUnremarkable(place);
            return;
        }
        m_until = subject.silent ? std::min(m_call->start + BOUNDED_CALL_PATIENCE, m_call->deadline) : m_call->deadline;
    }
    if (m_call == call)
        run(reference);
}

bool AnyBoundedCall::settledWithin(std::chrono::nanoseconds time) const {
    if (m_call == nullptr)
        return true;
    const Time end = Clock::now() + time;
    std::unique_lock<std::mutex> lock(registry().mutex);
    return endedBy(*m_call, lock, std::min(end, m_until)) || end >= m_until;
}

CallEnd AnyBoundedCall::wait() {
    std::unique_lock<std::mutex> lock(registry().mutex);
    if (m_call == nullptr)
        return {EAGAIN, reportSilence(m_key, false)};
    if (endedBy(*m_call, lock, m_until))
        return {m_call->error, reportSilence(m_key, false)};
    return {ETIMEDOUT, reportSilence(m_key, true)};
}

AnyBoundedCall::Time AnyBoundedCall::started() const {
    return m_call == nullptr ? Clock::now() : m_call->start; // which does not change once it runs
}

const void *AnyBoundedCall::rawAnswer() const {
    return m_call->answer.get();
}

int boundedCallsRunning() {
    const std::lock_guard<std::mutex> lock(registry().mutex);
    return registry().running;
}

} // namespace zel
