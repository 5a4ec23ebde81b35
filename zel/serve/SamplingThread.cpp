// Samples and writes texts for all clients.
#include "zel/serve/SamplingThread.h"

#include "threads/WorkerThread.h"

#include <algorithm>
#include <new>
#include <utility>

namespace zel {

namespace {

constexpr std::chrono::milliseconds beatShare{100}; // beats that are due so near to one another share a sample
constexpr std::size_t textsAtMost = 64;             // of one sample that are kept

SamplingThread::Clock::time_point nextBeat(SamplingThread::Clock::time_point now, std::chrono::milliseconds every) {
    const auto sinceStart = now.time_since_epoch();
    return SamplingThread::Clock::time_point((sinceStart / every + 1) * every);
}

} // namespace

SamplingThread::SamplingThread(const Options &options, AnswerSettings settings, std::function<void()> wake)
    : m_sampler(options), m_settings(std::move(settings)), m_wake(std::move(wake)) {
    const SignalsBlocked blocked;
    m_thread = std::thread([this] { run(); });
}

SamplingThread::~SamplingThread() {
    {
        const std::lock_guard held(m_lock);
        m_ending = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

SharedText SamplingThread::ask(const TextKey &key, ClientNumber client) {
    {
        const std::lock_guard held(m_lock);
        const auto found = m_texts.find(key);
        if (found != m_texts.end() && Clock::now() - m_sampledAt <= m_settings.sampleAge)
            return found->second;
        m_waiting.push_back({client, key});
    }
    m_changed.notify_one();
    return nullptr;
}

bool SamplingThread::subscribe(const TextKey &key, std::chrono::milliseconds every, ClientNumber client) {
    {
        const std::lock_guard held(m_lock);
        auto pace =
            std::find_if(m_paces.begin(), m_paces.end(), [every](const Pace &other) { return other.every == every; });
        if (pace == m_paces.end()) {
            if (m_paces.size() == STREAM_PACES_AT_MOST)
                return false;
            m_paces.push_back({every, nextBeat(Clock::now(), every), {}, ++m_pacesMade});
            pace = m_paces.end() - 1;
        }
        pace->streams.push_back({client, key});
    }
    m_changed.notify_one();
    return true;
}

void SamplingThread::forget(ClientNumber client) {
    const std::lock_guard held(m_lock);
    std::erase_if(m_waiting, [client](const Waiting &waiting) { return waiting.client == client; });
    for (Pace &pace : m_paces)
        std::erase_if(pace.streams, [client](const Stream &stream) { return stream.client == client; });
    std::erase_if(m_paces, [](const Pace &pace) { return pace.streams.empty(); });
}

void SamplingThread::takeFinished(std::vector<FinishedText> &finished) {
    finished.clear();
    const std::lock_guard held(m_lock);
    std::swap(finished, m_finished);
}

void SamplingThread::change(AnswerSettings settings) {
    const std::lock_guard held(m_lock);
    m_settings = std::move(settings);
    m_isNew = true;
    m_texts.clear();
}

std::chrono::milliseconds SamplingThread::busyFor() const {
    const std::lock_guard held(m_lock);
    if (m_busySince == Clock::time_point{})
        return {};
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_busySince);
}

std::vector<std::string> SamplingThread::takeRemarks() {
    const std::lock_guard held(m_lock);
    return std::exchange(m_remarks, {});
}

void SamplingThread::run() {
    work(); // so that the first client finds a sample, and an earlier one for rates
    while (waitForWork())
        work();
}

bool SamplingThread::waitForWork() {
    std::unique_lock lock(m_lock);
    while (!m_ending && m_waiting.empty()) {
        const auto first = std::min_element(m_paces.begin(), m_paces.end(),
                                            [](const Pace &one, const Pace &other) { return one.next < other.next; });
        if (first == m_paces.end())
            m_changed.wait(lock);
        else if (first->next <= Clock::now())
            break;
        else
            m_changed.wait_until(lock, Clock::time_point(first->next));
    }
    return !m_ending;
}

void SamplingThread::work() {
    Batch batch;
    try {
        beginBatch(batch);
        if (batch.needsSample)
            takeSample();
        answerBatch(batch);
    } catch (const std::bad_alloc &) {
        for (const Waiting &waiting : batch.waiting)
            batch.finished.push_back({waiting.client, nullptr, false});
    }
    {
        const std::lock_guard held(m_lock);
        m_busySince = {};
        m_finished.insert(m_finished.end(), batch.finished.begin(), batch.finished.end());
        for (std::string &remark : m_writer.takeRemarks())
            m_remarks.push_back(std::move(remark));
    }
    m_wake();
}

void SamplingThread::beginBatch(Batch &batch) {
    const std::lock_guard held(m_lock);
    const Clock::time_point now = Clock::now();
    m_busySince = now;
    if (m_isNew) {
        m_writer.configure(m_settings);
        m_hidesCommandLines = !m_settings.commandLines;
        batch.needsSample = true;
        m_isNew = false;
    }
    std::swap(batch.waiting, m_waiting);
    for (Pace &pace : m_paces) {
        if (pace.next > now)
            continue;
        pace.next = nextBeat(now, pace.every);
        batch.beats.push_back(pace);
    }
    const Clock::duration age = now - m_sampledAt;
    batch.needsSample = batch.needsSample || (!batch.waiting.empty() && age > m_settings.sampleAge) ||
                        (!batch.beats.empty() && age > beatShare);
    std::erase_if(m_beforeOfPace, [this](const auto &before) {
        return std::none_of(m_paces.begin(), m_paces.end(),
                            [&before](const Pace &pace) { return pace.number == before.first; });
    });
}

void SamplingThread::takeSample() {
    const Clock::time_point begun = Clock::now();
    m_rated = Rated::Nothing;
    std::swap(m_before, m_now);
    m_sampler.take(m_now);
    if (m_hidesCommandLines) {
        for (Process &process : m_now.processes)
            process.commandLine.clear(Absence::NotAsked);
    }
    m_writer.beginSample();
    ++m_samples;
    const std::lock_guard held(m_lock);
    m_sampledAt = begun;
    m_texts.clear();
}

const Rates *SamplingThread::ratesSinceBefore(Rated wanted) {
    if (m_samples < 2 || wanted == Rated::Nothing)
        return nullptr;
    if (m_rated < wanted)
        wanted == Rated::All ? between(m_before, m_now, m_rates) : processesBetween(m_before, m_now, m_rates);
    m_rated = std::max(m_rated, wanted);
    return &m_rates;
}

SharedText SamplingThread::write(const TextKey &key, const Rates *rates) {
    std::string text;
    return m_writer.write(key, m_now, rates, text) ? share(std::move(text)) : nullptr;
}

// Texts that are only kept make room for one that is asked for. What compressed is short may have a long buffer.
SharedText SamplingThread::share(std::string text) {
    text.shrink_to_fit();
    if (m_budget.used() + text.capacity() > TEXT_BYTES_AT_MOST) {
        const std::lock_guard held(m_lock);
        m_texts.clear();
    }
    return m_budget.share(std::move(text));
}

// Texts of one sample are kept for those who ask for the same within the age limit.
SharedText SamplingThread::textOf(const TextKey &key) {
    {
        const std::lock_guard held(m_lock);
        if (const auto found = m_texts.find(key); found != m_texts.end())
            return found->second;
    }
    const Rated ofMetrics = key.form == TextKey::Form::Metrics ? Rated::Processes : Rated::Nothing;
    SharedText text = write(key, ratesSinceBefore(key.rates ? Rated::All : ofMetrics));
    const std::lock_guard held(m_lock);
    if (text != nullptr && m_texts.size() < textsAtMost && !m_isNew)
        m_texts.emplace(key, text);
    return text;
}

void SamplingThread::answerBatch(Batch &batch) {
    while (!batch.waiting.empty()) {
        const Waiting waiting = batch.waiting.back();
        batch.finished.push_back({waiting.client, textOf(waiting.key), false});
        batch.waiting.pop_back();
    }
    for (const Pace &pace : batch.beats)
        answerBeat(pace, batch.finished);
}

// The rates of a stream are those between its own beats, whoever else had the host sampled in between.
void SamplingThread::answerBeat(const Pace &pace, std::vector<FinishedText> &finished) {
    const auto before = m_beforeOfPace.find(pace.number);
    std::map<TextKey, SharedText> texts;
    bool needsBefore = false;
    for (const Stream &stream : pace.streams) {
        SharedText &text = texts[stream.key];
        needsBefore = needsBefore || stream.key.rates;
        if (text == nullptr && stream.key.rates && before != m_beforeOfPace.end()) {
            between(before->second, m_now, m_beatRates);
            text = write(stream.key, &m_beatRates);
        } else if (text == nullptr) {
            text = textOf(stream.key);
        }
        finished.push_back({stream.client, text, true});
    }
    if (needsBefore)
        m_beforeOfPace[pace.number] = m_now;
}

} // namespace zel
