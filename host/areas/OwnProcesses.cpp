// Reads the processes of this host by a call that a process can hold up. A process that waits under its own memory lock
// (for a FUSE server that was stopped, say) lets whoever reads its command line, I/O or memory map wait with it.
//
// The reading tells which process it is at. One that it is at for too long is silent: the reading is left to its
// thread, and another one starts anew, which takes of the silent processes only what needs none of their locks. So a
// silent process has one thread, until that returns; then it is read again.
#include "host/areas/AreaRoom.h"
#include "host/areas/ProcessProgress.h"
#include "threads/ForkRepair.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace zel {

namespace {

using Clock = std::chrono::steady_clock;

// No kernel works that long on the files of one process, but on the memory map of a large one.
constexpr std::chrono::milliseconds patience{100};
constexpr std::chrono::milliseconds patienceForMaps{500};
constexpr std::chrono::milliseconds betweenLooks{20};

// Each has a thread and a room: with more of them the area is timed out.
constexpr std::size_t silentAtMost = 64;

// The calls have no limit of their own: this reader waits as long as it sees fit, and never in vain.
constexpr std::chrono::hours callLimit{24L * 365};

// A room and its call.
struct Attempt {
    std::shared_ptr<AreaRoom> room;
    std::shared_ptr<ProcessProgress> progress;
    std::optional<BoundedCall<AreaRead>> call = std::nullopt; // none when no call runs
    Clock::time_point start = {};
    std::uint64_t pid = 0;        // that was seen last
    Clock::time_point since = {}; // when it was seen first
    bool isOfThisSample = false;
};

// A reading that was left to its thread.
struct Stuck {
    Attempt attempt;
    SilentProcess process;
};

class OwnProcessReader : public AreaReader {
public:
    OwnProcessReader() = default;
    ~OwnProcessReader() override {
        if (m_attempt && m_attempt->call)
            m_attempt->progress->giveUp();
    }
    OwnProcessReader(const OwnProcessReader &) = delete;
    OwnProcessReader &operator=(const OwnProcessReader &) = delete;

    // Half of the time: what other areas ask needs some too.
    void read(Take &take) override {
        if (std::exchange(m_forked, false))
            renewAfterFork();
        std::erase_if(m_stuck, [](const Stuck &each) {
            return each.attempt.call->settledWithin(std::chrono::nanoseconds::zero());
        });
        if (m_attempt)
            m_attempt->isOfThisSample = false;
        const Clock::time_point now = Clock::now();
        m_isTaken = readUntil(now + (take.deadline - now) / 2, take);
    }

    void finish(Take &take) override {
        if (!m_isTaken && !readUntil(take.deadline, take))
            lose(take, ETIMEDOUT, secondsSilent());
    }

private:
    enum class Outcome { Ended, Silent, OutOfTime };

    // True when the area is settled.
    bool readUntil(Clock::time_point end, Take &take) {
        for (;;) {
            if (!m_attempt || !m_attempt->call)
                start(take);
            const Outcome outcome = wait(end);
            if (outcome == Outcome::OutOfTime)
                return false;
            if (outcome == Outcome::Silent)
                leaveToItsThread();
            else if (handOver(take))
                return true;
        }
    }

    void start(Take &take) {
        if (!m_attempt)
            makeRoom(take);
        Attempt &attempt = *m_attempt;
        m_silent.clear();
        for (const Stuck &each : m_stuck)
            m_silent.push_back(each.process);
        attempt.progress->begin(m_silent);
        attempt.room->root.kept().limitTo(placesLeft(take));
        attempt.start = attempt.since = Clock::now();
        attempt.pid = 0;
        attempt.isOfThisSample = true;
        attempt.call.emplace(m_number, callLimit, [room = attempt.room, deadline = take.deadline](AreaRead &) {
            room->read(Area::Processes, deadline);
            return 0;
        });
    }

    void makeRoom(Take &take) {
        if (m_options == nullptr)
            m_options = std::make_shared<const Options>(take.options);
        m_number = "process " + nextCallNumber();
        auto progress = std::make_shared<ProcessProgress>();
        auto room = std::make_shared<AreaRoom>(AreaRoom{m_options, HostDirectory(""), processReader(progress)});
        m_attempt.emplace(Attempt{std::move(room), std::move(progress)});
    }

    // What a stuck reading keeps open counts until its thread returns.
    int placesLeft(Take &take) const {
        int places = take.root.kept().limit() - take.root.kept().taken();
        for (const Stuck &each : m_stuck)
            places -= each.attempt.room->root.kept().limit();
        return std::max(places, 0);
    }

    Outcome wait(Clock::time_point end) {
        Attempt &attempt = *m_attempt;
        const auto longest = m_options->proportionalMemory ? patienceForMaps : patience;
        for (;;) {
            const Clock::time_point before = Clock::now();
            if (attempt.call->settledWithin(std::clamp<std::chrono::nanoseconds>(end - before, {}, betweenLooks)))
                return Outcome::Ended;
            const Clock::time_point now = Clock::now();
            const std::uint64_t pid = attempt.progress->place().pid;
            if (pid != std::exchange(attempt.pid, pid))
                attempt.since = now;
            else if (now - attempt.since >= longest && (pid != 0 || !attempt.isOfThisSample))
                return canBeLeft(pid) ? Outcome::Silent : Outcome::OutOfTime;
            if (now >= end)
                return Outcome::OutOfTime;
        }
    }

    // A process that hangs although nothing but its stat is asked would take one thread after the other.
    bool canBeLeft(std::uint64_t pid) const {
        return pid != 0 && m_stuck.size() < silentAtMost &&
               std::none_of(m_stuck.begin(), m_stuck.end(),
                            [pid](const Stuck &each) { return each.process.pid == pid; });
    }

    void leaveToItsThread() {
        const ProcessProgress::Place place = m_attempt->progress->place();
        if (place.pid != m_attempt->pid) // it goes on after all
            return;
        const SilentProcess process{place.pid, place.startSeconds, m_attempt->since};
        m_stuck.reserve(silentAtMost); // what follows cannot fail
        m_attempt->progress->giveUp();
        m_stuck.push_back({std::move(*m_attempt), process});
        m_attempt.reset();
    }

    // False when what was read is of an earlier sample.
    bool handOver(Take &take) {
        const int error = m_attempt->call->wait().error;
        m_attempt->call.reset();
        if (!m_attempt->isOfThisSample)
            return false;
        if (error != 0)
            lose(take, error, 0);
        else
            exchangeArea(take.sample, m_attempt->room->sample, Area::Processes);
        return true;
    }

    double secondsSilent() const { return std::chrono::duration<double>(Clock::now() - m_attempt->start).count(); }

    static void lose(Take &take, int error, double silentSeconds) {
        loseArea(take.sample, Area::Processes, error, "proc");
        take.sample.area(Area::Processes).silentSeconds = silentSeconds;
    }

    static void repair(void *reader) { static_cast<OwnProcessReader *>(reader)->m_forked = true; }

    // What a thread of the parent was writing may be half written: the child leaves it alone. The reference of that
    // thread, which does not exist here, keeps it from being destroyed.
    void renewAfterFork() {
        m_stuck.clear();
        if (m_attempt && m_attempt->call)
            m_attempt.reset();
    }

    std::shared_ptr<const Options> m_options;
    std::string m_number; // of the room, in the name of its calls: no other joins them
    std::optional<Attempt> m_attempt;
    std::vector<Stuck> m_stuck;
    std::vector<SilentProcess> m_silent; // of m_stuck
    bool m_isTaken = false;              // the area is settled in this sample
    bool m_forked = false;               // this process is the child of a fork since the last sample
    ForkRepair m_forkRepair{repair, this};
};

} // namespace

std::unique_ptr<AreaReader> ownProcessReader() {
    return std::make_unique<OwnProcessReader>();
}

} // namespace zel
