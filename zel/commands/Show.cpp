// `zel show`: one sample of a host, or many.
#include "host/Sampler.h"
#include "zel/Duration.h"
#include "zel/Failure.h"
#include "zel/Output.h"
#include "zel/Pace.h"
#include "zel/Terminal.h"
#include "zel/commands/ShowText.h"
#include "zel/config/ConfigFile.h"

#include <algorithm>
#include <utility>

namespace zel {

namespace {

constexpr std::chrono::seconds longWait{1}; // from here on the reader is told what is waited for

constexpr Example examples[] = {
    {"zel show", "an overview of this host, measured for a second"},
    {"zel show disks interfaces --every 2s", "both tables each two seconds, until Ctrl-C"},
    {"zel show processes --raw", "all processes with their counters, without waiting"},
    {"zel show cpu memory --format json", "counters and sizes for a program, one line"},
    {"zel show disks --rates --format csv --every 10s --count 360 > disks.csv", "an hour of disk rates"},
    {"zel show --format prometheus > zel.prom", "metrics, under the names that dashboards know"},
    {"zel show --rates --format line --every 10s", "lines for a time-series database"},
    {"zel show filesystems --all", "every field of every filesystem"},
    {"zel show --root /host", "the host whose root directory a container has at /host"},
};

constexpr std::string_view about =
    "Without an area: all of them, as an overview that leaves out what is quiet or small.\n"
    "Tables show rates: a first sample is taken, then one after --every (1s), and so on, so that the first output is "
    "right already. With --raw, and where an area has nothing to rate, the first sample is shown at once.\n"
    "What could not be read is said on standard error, with the file and the reason; what this host does not have is "
    "listed by zel list --absent. Ctrl-C ends repeated samples "
    "after "
    "the one that is being written.";

constexpr Example exitStatus[] = {
    {"0", "done; also when the reader of the output went away"},
    {"1", "an area that was named could not be read at all (or none of all), or the output failed"},
    {"2", "the command line is wrong"},
    {"130", "ended by Ctrl-C"},
};

class Show {
public:
    explicit Show(ShowRequest request)
        : m_request(std::move(request)),
          m_sampler({.root = m_request.root, .areas = m_request.areas, .deadline = m_request.deadline}),
          m_pace(m_request.interval), m_text(m_request) {}

    int run() {
        if (m_request.rates) {
            take();
            if (!waitFirst())
                return Pace::end();
        }
        for (std::uint64_t number = 1;; ++number) {
            take();
            if (Pace::isEnding())
                return Pace::end();
            const Written written = print();
            if (Pace::isEnding())
                return Pace::end();
            if (written != Written::Whole)
                return written == Written::Failed ? EXIT_FAILED : EXIT_DONE;
            reportFailures();
            if (number == m_request.count)
                return m_failed ? EXIT_FAILED : EXIT_DONE;
            if (!m_pace.wait())
                return Pace::end();
        }
    }

private:
    void take() {
        const Progress progress("waiting for what does not answer, at most " + durationText(m_request.deadline),
                                longWait);
        std::swap(m_before, m_now);
        m_sampler.take(m_now);
    }
    bool waitFirst() {
        if (m_request.interval < longWait)
            return m_pace.wait();
        const Progress progress("measuring for " + durationText(m_request.interval));
        return m_pace.wait();
    }

    Written print() {
        if (m_request.rates)
            between(m_before, m_now, m_rates);
        return writeOut(m_text.of(m_now, m_request.rates ? &m_rates : nullptr));
    }

    // What failed is said once, and again when it fails in another way. Without named areas one whose source this host
    // does not have is no failure, unless there is no other.
    void reportFailures() {
        std::array<std::string, AREA_COUNT> failures;
        std::size_t lost = 0, failed = 0, asked = 0;
        for (std::size_t index = 0; index < AREA_COUNT; ++index) {
            const AreaState &state = m_now.areas[index];
            failures[index] = failureText(areaName(static_cast<Area>(index)), m_request.root, state);
            asked += state.asked ? 1 : 0;
            lost += state.asked && state.absence != Absence::None ? 1 : 0;
            failed += failures[index].empty() ? 0 : 1;
        }
        const bool nothing = failed == asked;
        for (std::size_t index = 0; index < AREA_COUNT; ++index) {
            const bool isLacking = m_now.areas[index].absence == Absence::Unsupported;
            if (isLacking && m_request.areas.empty() && !nothing)
                failures[index].clear();
            if (!failures[index].empty() && failures[index] != m_reported[index])
                complain(failures[index]);
        }
        for (const std::string &problem : m_text.problems())
            complain(problem);
        m_reported = failures;
        m_failed = m_failed || (m_request.areas.empty() ? nothing : lost > 0);
    }

    ShowRequest m_request;
    Sampler m_sampler;
    Pace m_pace;
    Sample m_before, m_now;
    Rates m_rates;
    ShowText m_text;
    std::array<std::string, AREA_COUNT> m_reported;
    bool m_failed = false;
};

int runShow(const Command &command, const Arguments &given) {
    const std::optional<Arguments> arguments = configuredArguments(command, given);
    if (!arguments)
        return EXIT_USAGE;
    std::string problem;
    ShowRequest request = readShowRequest(*arguments, given, problem);
    if (!problem.empty())
        return refuse(command, problem);
    return Show(std::move(request)).run();
}

} // namespace

const Command showCommand{"show",     "[AREA...]",   "one sample of this host, or many, in any format",
                          about,      showOptions(), examples,
                          exitStatus, runShow,       problemOfShow};

} // namespace zel
