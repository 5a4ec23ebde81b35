// One sample for all who ask, beats of streams, and what is given when.
#include "zel/serve/SamplingThread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

using namespace std::chrono_literals;
using zel::AnswerSettings;
using zel::FinishedText;
using zel::SamplingThread;
using zel::SharedText;
using zel::TextKey;

namespace {

// Collects what the thread gives.
class SamplingOf {
public:
    explicit SamplingOf(std::chrono::milliseconds age) : m_thread(options(), settings(age), [this] { wake(); }) {}

    SamplingThread &thread() { return m_thread; }
    /// The texts of the next `count` answers.
    std::vector<FinishedText> wait(std::size_t count) {
        const auto until = std::chrono::steady_clock::now() + 20s;
        std::vector<FinishedText> all, some;
        while (all.size() < count && std::chrono::steady_clock::now() < until) {
            {
                std::unique_lock held(m_lock);
                m_woken.wait_for(held, 100ms, [this] { return m_isWoken; });
                m_isWoken = false;
            }
            m_thread.takeFinished(some);
            all.insert(all.end(), some.begin(), some.end());
        }
        EXPECT_GE(all.size(), count);
        return all;
    }
    /// The next text is of another sample.
    void renew(std::chrono::milliseconds age) { m_thread.change(settings(age)); }
    std::string ask(const TextKey &key) {
        if (const SharedText text = m_thread.ask(key, 1); text != nullptr)
            return *text;
        const std::vector<FinishedText> finished = wait(1);
        return finished.empty() || finished[0].text == nullptr ? "" : *finished[0].text;
    }

private:
    static zel::Options options() {
        zel::Options options;
        options.areas = {zel::Area::Load, zel::Area::Vm, zel::Area::Processes};
        return options;
    }
    static AnswerSettings settings(std::chrono::milliseconds age) {
        AnswerSettings settings;
        settings.sampleAge = age;
        settings.deadline = 5s;
        return settings;
    }
    void wake() {
        const std::lock_guard held(m_lock);
        m_isWoken = true;
        m_woken.notify_one();
    }

    std::mutex m_lock;
    std::condition_variable m_woken;
    bool m_isWoken = false;
    SamplingThread m_thread;
};

TextKey jsonKey() {
    TextKey key;
    key.form = TextKey::Form::Json;
    key.areas = 1UL << static_cast<unsigned>(zel::Area::Load);
    return key;
}

TEST(SamplingThread, YoungSampleIsShared) {
    SamplingOf sampling(1min);
    const std::string first = sampling.ask(jsonKey());
    EXPECT_TRUE(first.starts_with("{\"time_seconds\":")) << first;
    EXPECT_EQ(sampling.ask(jsonKey()), first);
    EXPECT_NE(sampling.thread().ask(jsonKey(), 1), nullptr);
}

TEST(SamplingThread, OldSampleIsRenewed) {
    SamplingOf sampling(0s);
    const std::string first = sampling.ask(jsonKey());
    EXPECT_NE(sampling.ask(jsonKey()), first);
}

TEST(SamplingThread, ManyClientsGetOneText) {
    SamplingOf sampling(1min);
    std::size_t waiting = 0;
    std::set<const std::string *> texts;
    for (zel::ClientNumber client = 1; client <= 50; ++client) {
        const SharedText text = sampling.thread().ask(jsonKey(), client);
        waiting += text == nullptr ? 1 : 0;
        texts.insert(text.get());
    }
    texts.erase(nullptr);
    for (const FinishedText &finished : sampling.wait(waiting))
        texts.insert(finished.text.get());
    EXPECT_EQ(texts.size(), 1U);
}

TEST(SamplingThread, FirstRatesAreThereAtOnceWhenThereWasAnEarlierSample) {
    SamplingOf sampling(0s);
    sampling.ask(jsonKey());
    TextKey key = jsonKey();
    key.rates = true;
    EXPECT_NE(sampling.ask(key).find("\"interval_seconds\":"), std::string::npos);
}

// Pages need the rates of processes alone: that they were made does not take the others away.
TEST(SamplingThread, RatesAreWholeAfterAPageOfTheSameSample) {
    SamplingOf sampling(1min);
    sampling.ask(jsonKey());
    sampling.renew(1min);
    TextKey page;
    page.form = TextKey::Form::Metrics;
    EXPECT_NE(sampling.ask(page).find("node_load1 "), std::string::npos);
    TextKey key = jsonKey();
    key.areas |= 1UL << static_cast<unsigned>(zel::Area::Vm) | 1UL << static_cast<unsigned>(zel::Area::Processes);
    key.rates = true;
    const std::string rates = sampling.ask(key);
    EXPECT_NE(rates.find("\"pgfault_per_second\":"), std::string::npos);
    EXPECT_NE(rates.find("\"user_ratio\":"), std::string::npos);
}

TEST(SamplingThread, StreamsOfOnePaceShareTheirTexts) {
    SamplingOf sampling(1s);
    TextKey key = jsonKey();
    key.form = TextKey::Form::Event;
    ASSERT_TRUE(sampling.thread().subscribe(key, 100ms, 7));
    ASSERT_TRUE(sampling.thread().subscribe(key, 100ms, 8));
    std::map<zel::ClientNumber, std::vector<SharedText>> texts;
    // Beats that come late may be so near to one another that they share a sample.
    const auto isRenewed = [&texts] { return texts[7].size() > 1 && *texts[7].front() != *texts[7].back(); };
    for (int rounds = 0; rounds < 100 && (!isRenewed() || texts[8].empty()); ++rounds) {
        for (const FinishedText &finished : sampling.wait(1)) {
            EXPECT_TRUE(finished.isBeat);
            ASSERT_NE(finished.text, nullptr);
            EXPECT_TRUE(finished.text->starts_with("id: ")) << *finished.text;
            EXPECT_TRUE(finished.text->ends_with("}\n\n"));
            texts[finished.client].push_back(finished.text);
        }
    }
    EXPECT_TRUE(isRenewed());
    ASSERT_GE(texts[8].size(), 1U);
    // The second may have come some beats later.
    EXPECT_NE(std::ranges::find(texts[7], texts[8][0]), texts[7].end());
    sampling.thread().forget(7);
    sampling.thread().forget(8);
    const auto until = std::chrono::steady_clock::now() + 20s;
    while (sampling.thread().busyFor() > 0s && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(sampling.thread().busyFor(), 0ms); // it rests when nobody asks
}

double numberAfter(const std::string &text, std::string_view name) {
    const std::size_t at = text.find(name);
    return at == std::string::npos ? std::nan("") : std::stod(text.substr(at + name.size()));
}

TEST(SamplingThread, RatesOfAStreamAreThoseOfItsBeats) {
    SamplingOf sampling(0s);
    TextKey key = jsonKey();
    key.form = TextKey::Form::Event;
    key.rates = true;
    ASSERT_TRUE(sampling.thread().subscribe(key, 500ms, 1));
    std::string before, last;
    for (int beats = 0; beats < 3;) {
        sampling.thread().ask(jsonKey(), 2); // samples of others in between
        for (const FinishedText &finished : sampling.wait(1)) {
            if (!finished.isBeat)
                continue;
            ASSERT_NE(finished.text, nullptr);
            ++beats;
            before = std::exchange(last, *finished.text);
        }
    }
    const double passed = numberAfter(last, "\"time_seconds\":") - numberAfter(before, "\"time_seconds\":");
    // Two clocks are read one after the other.
    EXPECT_NEAR(numberAfter(last, "\"interval_seconds\":"), passed, 0.1) << last;
}

TEST(SamplingThread, PacesHaveALimit) {
    SamplingOf sampling(1s);
    zel::ClientNumber client = 0;
    for (std::size_t pace = 0; pace < zel::STREAM_PACES_AT_MOST; ++pace)
        EXPECT_TRUE(sampling.thread().subscribe(jsonKey(), 1h + 1s * pace, ++client));
    EXPECT_FALSE(sampling.thread().subscribe(jsonKey(), 2h, 100));
    EXPECT_TRUE(sampling.thread().subscribe(jsonKey(), 1h, 101));
    sampling.thread().forget(2);
    EXPECT_TRUE(sampling.thread().subscribe(jsonKey(), 2h, 100));
}

TEST(SamplingThread, CommandLinesStayHereUnlessAsked) {
    SamplingOf sampling(0s);
    TextKey key = jsonKey();
    key.areas = 1UL << static_cast<unsigned>(zel::Area::Processes);
    std::ifstream own("/proc/self/cmdline");
    std::string program;
    std::getline(own, program, '\0');
    const std::string mark = "\"command_line\":\"" + program;
    EXPECT_EQ(sampling.ask(key).find(mark), std::string::npos);
    AnswerSettings settings;
    settings.commandLines = true;
    settings.deadline = 5s;
    sampling.thread().change(settings);
    EXPECT_NE(sampling.ask(key).find(mark), std::string::npos);
}

TEST(SamplingThread, ClientsOfSeveralKindsAtOnceAreAllServed) {
    SamplingOf sampling(1ms);
    std::size_t waiting = 0;
    std::vector<FinishedText> finished;
    for (zel::ClientNumber client = 1; client <= 200; ++client) {
        TextKey key = jsonKey();
        key.rates = client % 3 == 0;
        key.coding = client % 2 == 0 ? zel::Coding::Gzip : zel::Coding::Zstd;
        waiting += sampling.thread().ask(key, client) == nullptr ? 1 : 0;
        if (client % 50 == 0)
            sampling.thread().forget(client + 1000); // one that there is not
    }
    EXPECT_EQ(sampling.wait(waiting).size(), waiting);
}

} // namespace
