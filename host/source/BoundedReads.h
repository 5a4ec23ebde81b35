// A pass over objects that may not answer, such as mounts and the drivers of devices: each object is asked on a thread
// of its own (threads/BoundedCall.h), and none holds the sample up beyond its deadline.
//
//   BoundedReads<Speed> links("speed");                  // a member of a reader: it knows what was silent before
//   links.begin(take.deadline, names.size());            // in each sample
//   const std::size_t eth0 = links.ask("eth0", [root = take.root](Speed &speed) { return readSpeed(root, speed); });
//   ...                                                  // whatever else there is to do
//   const BoundedRead<Speed> read = links.wait(eth0);    // read.answer, or read.error and since when
//
// Every object that is asked gets a moment to answer before the next is started, so that normally one short-lived
// thread exists at a time. The silent ones are waited for together: all of them until the same deadline. One whose call
// of an earlier sample still runs is neither asked again nor waited for.
//
// The work owns what it refers to (copies, shared pointers; a HostDirectory is copied): a call that hangs outlives the
// reader and the sampler. Within a bounded call, as below a root directory, the work is done at once on that thread.
#pragma once

#include "threads/BoundedCall.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// What an object is given before the next is started: a share of half the time that is left, within these limits.
inline constexpr std::chrono::microseconds BOUNDED_MOMENT_LEAST{200};
inline constexpr std::chrono::milliseconds BOUNDED_MOMENT_MOST{10};

/// How asking an object ended.
template<typename Answer> struct BoundedRead {
    /// 0, what the work returned, or ETIMEDOUT (it does not answer), EAGAIN (no thread can be had), ENOMEM.
    int error = 0;
    /// With ETIMEDOUT: the seconds since it was first asked in vain; 0 when it was not asked, for want of time.
    double silentSeconds = 0;
    /// Null with an error. Holds until the next pass begins.
    const Answer *answer = nullptr;
};

/// The times of a pass, and what is known of its silent objects.
class BoundedPass {
public:
    using Time = std::chrono::steady_clock::time_point;

protected:
    explicit BoundedPass(std::string kind) : m_kind(std::move(kind)) {}

    void beginPass(Time deadline, std::size_t count);
    std::string subjectOf(std::string_view object) const;
    std::chrono::nanoseconds moment() const { return m_moment; }
    /// 0 when the deadline is over.
    std::chrono::nanoseconds timeLeft() const;
    /// Waits for a call until the deadline; null is one that was not started. Gives its error, and how long the object
    /// has been silent.
    int waitFor(AnyBoundedCall *call, const std::string &subject, double &silentSeconds);

private:
    struct Silent {
        Time since;
        bool asked = true; // in this pass
    };

    double noteSilence(const std::string &subject, Time since);

    std::string m_kind;
    Time m_deadline;
    std::chrono::nanoseconds m_moment{};
    std::map<std::string, Silent, std::less<>> m_silent; // by subject
};

template<typename Answer> class BoundedReads : private BoundedPass {
public:
    /// `kind` leads the subjects: samplers that ask for the same object of the same kind share its one thread.
    explicit BoundedReads(std::string kind) : BoundedPass(std::move(kind)) {}

    /// Begins the pass of a sample, with about `count` objects. Objects that the pass before did not ask for are
    /// forgotten.
    void begin(Time deadline, std::size_t count) {
        m_reads.clear();
        beginPass(deadline, count);
    }
    /// Starts asking for an object; once the deadline is over, no more. Gives its place in the pass. The work fills the
    /// answer and returns 0 or an error number.
    std::size_t ask(std::string_view object, std::function<int(Answer &)> work) {
        m_reads.push_back({subjectOf(object), {}});
        Read &read = m_reads.back();
        if (const std::chrono::nanoseconds left = timeLeft(); left.count() > 0) {
            read.call.emplace(read.subject, left, std::move(work));
            read.call->settledWithin(moment());
        }
        return m_reads.size() - 1;
    }
    std::size_t size() const { return m_reads.size(); }
    /// Waits at most `time`. True when wait() would return at once.
    bool settledWithin(std::size_t place, std::chrono::nanoseconds time) const {
        const Read &read = m_reads[place];
        return !read.call || read.call->settledWithin(std::min(time, timeLeft()));
    }
    /// Waits for an object until the deadline. To be called once for each.
    BoundedRead<Answer> wait(std::size_t place) {
        Read &read = m_reads[place];
        BoundedRead<Answer> result;
        result.error = waitFor(read.call ? &*read.call : nullptr, read.subject, result.silentSeconds);
        if (result.error == 0)
            result.answer = &read.call->answer();
        return result;
    }

private:
    struct Read {
        std::string subject;
        std::optional<BoundedCall<Answer>> call; // none when the deadline was over
    };

    std::vector<Read> m_reads;
};

} // namespace zel
