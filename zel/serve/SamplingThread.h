// The one thread that samples the host and writes the answers, for all clients together.
//
// A client asks for a text (ask) and is told when it is there (takeFinished). Clients that ask for the same text of one
// sample share it, and all that come within the age limit share the sample, also those that come while it is taken:
// however many there are, the host is read once. Streams subscribe to a text that is made at each beat of their pace;
// streams of one pace and one text share it too.
//
// Everything public is called from one other thread; the sampling thread calls `wake` when something is finished.
#pragma once

#include "host/Sampler.h"
#include "zel/serve/Answers.h"
#include "zel/serve/Request.h"
#include "zel/serve/TextBudget.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <condition_variable>
#include <thread>

namespace zel {

inline constexpr std::size_t TEXT_BYTES_AT_MOST = std::size_t{64} << 20U; // of all texts together
inline constexpr std::size_t STREAM_PACES_AT_MOST = 16; // different times between events, each with a sample of its own

using ClientNumber = std::uint64_t; // of one request of a client: what comes late is not taken for another's

struct FinishedText {
    ClientNumber client;
    SharedText text; // null: there was no memory, or texts have all that they may
    bool isBeat;     // of a stream, not an answer to ask()
};

class SamplingThread {
public:
    using Clock = std::chrono::steady_clock;

    SamplingThread(const Options &options, AnswerSettings settings, std::function<void()> wake);
    /// Waits for the sample that is being taken.
    ~SamplingThread();
    SamplingThread(const SamplingThread &) = delete;
    SamplingThread &operator=(const SamplingThread &) = delete;

    /// The text, where it is there already; else null, and it comes by takeFinished().
    SharedText ask(const TextKey &key, ClientNumber client);
    /// From now on the text comes at each beat, by takeFinished(). False when there are too many paces.
    bool subscribe(const TextKey &key, std::chrono::milliseconds every, ClientNumber client);
    /// Nothing comes for the client any more, but what is finished already.
    void forget(ClientNumber client);
    /// Moves what is finished into `finished`.
    void takeFinished(std::vector<FinishedText> &finished);

    /// From the next text on.
    void change(AnswerSettings settings);
    /// For how long the thread works at one thing; 0 while it waits.
    std::chrono::milliseconds busyFor() const;
    /// What is to be logged.
    std::vector<std::string> takeRemarks();

private:
    struct Waiting {
        ClientNumber client;
        TextKey key;
    };
    struct Stream {
        ClientNumber client;
        TextKey key;
    };
    struct Pace {
        std::chrono::milliseconds every{};
        Clock::time_point next;
        std::vector<Stream> streams;
        std::uint64_t number = 0; // of this pace among all that ever were
    };

    // Pages of metrics rank processes, and their readers make the rates of the rest.
    enum class Rated : unsigned char { Nothing, Processes, All };

    // What is done at one time.
    struct Batch {
        std::vector<Waiting> waiting;
        std::vector<Pace> beats;
        bool needsSample = false;
        std::vector<FinishedText> finished;
    };

    void run();
    bool waitForWork();
    void work();
    void beginBatch(Batch &batch);
    void takeSample();
    void answerBatch(Batch &batch);
    void answerBeat(const Pace &pace, std::vector<FinishedText> &finished);
    const Rates *ratesSinceBefore(Rated wanted);
    SharedText textOf(const TextKey &key);
    SharedText write(const TextKey &key, const Rates *rates);
    SharedText share(std::string text);

    // Of the sampling thread alone.
    Sampler m_sampler;
    AnswerWriter m_writer;
    TextBudget m_budget{TEXT_BYTES_AT_MOST};
    Sample m_now, m_before;
    std::uint64_t m_samples = 0;
    Rates m_rates, m_beatRates;     // since m_before; since the beat before
    Rated m_rated = Rated::Nothing; // of m_rates
    bool m_hidesCommandLines = true;
    std::map<std::uint64_t, Sample> m_beforeOfPace; // by the number of the pace

    mutable std::mutex m_lock; // of all below
    std::condition_variable m_changed;
    AnswerSettings m_settings;
    bool m_isNew = true; // the settings
    bool m_ending = false;
    std::vector<Waiting> m_waiting;
    std::vector<Pace> m_paces;
    std::uint64_t m_pacesMade = 0;
    std::map<TextKey, SharedText> m_texts; // of the sample
    Clock::time_point m_sampledAt;         // when it was begun
    Clock::time_point m_busySince{};
    std::vector<FinishedText> m_finished;
    std::vector<std::string> m_remarks;

    std::function<void()> m_wake;
    std::thread m_thread;
};

} // namespace zel
