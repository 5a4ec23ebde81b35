// A call that may block without end (statfs64 of a mount whose server is gone, a name look-up, a probe), made on a
// thread of its own and waited for up to a limit.
//
// Every call is about a subject, such as "statfs /mnt". However many callers ask and however long it hangs, a subject
// has one thread: while a call of it runs, a further call with the same subject and answer type joins that call.
//
// A subject falls silent when a call of it misses its limit, or fails after more than BOUNDED_CALL_PATIENCE. Nobody
// waits for a silent subject again: it is still asked, once the thread of the call before has returned, but a caller
// waits no longer than the patience. It answers again with the first call that succeeds within its limit, whether
// somebody waits for that call or not. So a dead server costs its limit once, also one that gives an error after
// minutes.
//
// Start the calls of a pass before the first is waited for: then all limits run at the same time.
//
// Work that makes a bounded call itself makes it on its own thread, within its own limit.
//
// The work must own everything that it refers to (copies, shared pointers): a call that hangs outlives its caller. It
// runs with every signal blocked, so that the program's handlers run where they always did. Several threads may make
// calls at once; one object is used by one thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <typeindex>

namespace zel {

inline constexpr int BOUNDED_CALLS_AT_MOST = 1024; // that run at one time: every one is a thread
inline constexpr std::chrono::milliseconds BOUNDED_CALL_PATIENCE{200};

/// What a call says about the silence of its subject. A beginning and an end are reported to one caller each.
enum class Silence { None, Begins, Lasts, Ends };

/// How a call ended. The error is 0 when there is an answer; otherwise what the work returned, or
///
///   ETIMEDOUT  it has not ended in time. Its thread stays until the system lets it go.
///   EAGAIN     BOUNDED_CALLS_AT_MOST calls run already, or no thread can be had.
///   ENOMEM     the work found no memory (it threw std::bad_alloc).
struct CallEnd {
    int error = 0;
    Silence silence = Silence::None;
};

/// Calls whose threads have not ended yet.
int boundedCallsRunning();

/// What all calls have in common, whatever they answer.
class AnyBoundedCall {
public:
    using Time = std::chrono::steady_clock::time_point;
    struct Key {
        std::type_index answerType;
        std::string subject;
        auto operator<=>(const Key &) const = default; // NOLINT(modernize-use-nullptr): of its own expansion
    };
    struct Running;

    AnyBoundedCall(Key key, std::chrono::nanoseconds limit, std::shared_ptr<void> answer, std::function<int()> work);

    /// Waits at most `time`. True when wait() would return at once.
    bool settledWithin(std::chrono::nanoseconds time) const;
    /// Waits for the end. To be called once.
    CallEnd wait();
    /// When the call was started that this one is or has joined; now, when none could be started.
    Time started() const;

protected:
    const void *rawAnswer() const;

private:
    Key m_key;
    std::shared_ptr<Running> m_call; // null when none could be started
    Time m_until;                    // the caller waits no longer
};

template<typename Answer> class BoundedCall : public AnyBoundedCall {
public:
    /// Starts `work`, or joins the call that runs already. The work fills the answer and returns 0 or an error number.
    /// Throws std::bad_alloc when there is no memory for the call.
    BoundedCall(std::string subject, std::chrono::nanoseconds limit, std::function<int(Answer &)> work)
        : BoundedCall(std::move(subject), limit, std::move(work), std::make_shared<Answer>()) {}

    /// After wait() gave no error.
    const Answer &answer() const { return *static_cast<const Answer *>(rawAnswer()); }

private:
    BoundedCall(std::string subject, std::chrono::nanoseconds limit, std::function<int(Answer &)> work,
                const std::shared_ptr<Answer> &answer)
        : AnyBoundedCall({typeid(Answer), std::move(subject)}, limit, answer,
                         [answer, work = std::move(work)] { return work(*answer); }) {}
};

} // namespace zel
