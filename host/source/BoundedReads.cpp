// The times of a pass over objects that may not answer, and since when they do not.
#include "host/source/BoundedReads.h"

#include <algorithm>
#include <cerrno>

namespace zel {

namespace {

using Clock = std::chrono::steady_clock;

// The limit of a call counts from its start, which is a little after the time that was left was taken.
constexpr std::chrono::milliseconds startingTime{1};

} // namespace

void BoundedPass::beginPass(Time deadline, std::size_t count) {
    m_deadline = deadline;
    const auto share = timeLeft() / static_cast<std::ptrdiff_t>(2 * std::max<std::size_t>(count, 1));
    m_moment = std::clamp<std::chrono::nanoseconds>(share, BOUNDED_MOMENT_LEAST, BOUNDED_MOMENT_MOST);
    std::erase_if(m_silent, [](const auto &entry) { return !entry.second.asked; });
    for (auto &entry : m_silent)
        entry.second.asked = false;
}

std::string BoundedPass::subjectOf(std::string_view object) const {
    std::string subject;
    subject.reserve(m_kind.size() + 1 + object.size());
    return subject.append(m_kind).append(1, ' ').append(object);
}

std::chrono::nanoseconds BoundedPass::timeLeft() const {
    return std::max(m_deadline - Clock::now(), std::chrono::nanoseconds::zero());
}

int BoundedPass::waitFor(AnyBoundedCall *call, const std::string &subject, double &silentSeconds) {
    if (call == nullptr) {
        const auto known = m_silent.find(subject);
        silentSeconds = known == m_silent.end() ? 0 : noteSilence(subject, known->second.since);
        return ETIMEDOUT;
    }
    // A call that another sampler started may have a later deadline than this pass.
    const int error = call->settledWithin(timeLeft() + startingTime) ? call->wait().error : ETIMEDOUT;
    if (error == ETIMEDOUT)
        silentSeconds = noteSilence(subject, call->started());
    else
        m_silent.erase(subject);
    return error;
}

double BoundedPass::noteSilence(const std::string &subject, Time since) {
    Silent &silent = m_silent.try_emplace(subject, Silent{since}).first->second;
    silent.since = std::min(silent.since, since);
    silent.asked = true;
    return std::chrono::duration<double>(Clock::now() - silent.since).count();
}

} // namespace zel
