// Reads graphics processors: NVIDIA's by its library, the others by what the kernel shows of their cards. Both may
// hang, and are bounded calls on this host.
#include "host/areas/AreaReader.h"
#include "host/areas/AreaRoom.h"
#include "host/gpu/DrmCard.h"
#include "host/gpu/DrmClients.h"
#include "host/gpu/NvmlSession.h"
#include "host/source/BoundedReads.h"
#include "host/source/DeviceTable.h"
#include "host/source/NumberedDirectory.h"
#include "host/source/Refresh.h"
#include "threads/ForkRepair.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <utility>

namespace zel {

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr const char *cardDirectory = "sys/class/drm";
constexpr std::uint64_t cardsAtMost = 256;
constexpr std::chrono::seconds cardPeriod{60};  // of what describes a card
constexpr std::chrono::seconds libraryRest{30}; // after a failure of the library, and before a driver is looked for
constexpr std::string_view nvidia = "nvidia";

// What only a loaded driver makes: the last one is that of a virtual machine of Windows.
constexpr const char *driverFiles[] = {"proc/driver/nvidia/version", "dev/nvidiactl", "dev/dxg"};

// Sessions that are not closed: their library may hang, or belong to the process that this one was forked from.
struct Abandoned {
    std::shared_ptr<NvmlSession> session;
    const Abandoned *next;
};
std::atomic<const Abandoned *> allAbandoned{nullptr}; // without a lock, which a fork might leave locked

void neverClose(std::shared_ptr<NvmlSession> session) {
    auto *last = new (std::nothrow) Abandoned{std::move(session), allAbandoned.load()};
    while (last != nullptr && !allAbandoned.compare_exchange_weak(last->next, last)) {
    }
}

// NVIDIA's library, from one sample to the next.
class NvmlGpus {
public:
    NvmlGpus() = default;
    ~NvmlGpus() { close(); }
    NvmlGpus(const NvmlGpus &) = delete;
    NvmlGpus &operator=(const NvmlGpus &) = delete;

    void ask(const Take &take) {
        m_isAsked = false;
        m_calls.begin(take.deadline, 1);
        if (std::exchange(m_forked, false))
            abandon();
        const Time now = std::chrono::steady_clock::now();
        if (now < m_restsUntil)
            return;
        m_error = 0;
        if (!isWanted(take, now))
            return m_known.clear();
        m_name = take.options.gpuLibrary.empty() ? NvmlLibrary::DEFAULT_NAME : take.options.gpuLibrary;
        if (m_session == nullptr)
            m_session = std::make_shared<NvmlSession>(m_name);
        m_isAsked = true;
        m_isIdle = false;
        m_calls.ask(m_name, [session = m_session](NvmlAnswer &answer) {
            session->read(answer);
            return 0;
        });
    }

    void finish(Sample &sample) {
        AreaState &state = sample.area(Area::Gpus);
        if (!m_isAsked)
            return noteUnlessMissing(state, m_error, m_name);
        const BoundedRead<NvmlAnswer> read = m_calls.wait(0);
        m_isIdle = read.answer != nullptr;
        m_error = read.answer == nullptr ? read.error : read.answer->error;
        noteUnlessMissing(state, m_error, m_name);
        if (read.answer == nullptr) {
            if (read.error == ETIMEDOUT)
                noteSilence(state, read.silentSeconds, m_name);
            return showSilent(sample);
        }
        state.costSeconds += read.answer->costSeconds;
        if (m_error != 0)
            m_restsUntil = std::chrono::steady_clock::now() + libraryRest;
        noteUnlessMissing(state, read.answer->partError, m_name);
        m_known.clear();
        for (const Gpu &gpu : read.answer->gpus)
            sample.gpus.append() = m_known.append() = gpu;
        for (const GpuProcess &process : read.answer->processes)
            sample.gpuProcesses.append() = process;
    }

    /// Whether it shows the GPU at this address.
    bool has(const std::string &address) const {
        return std::any_of(m_known.begin(), m_known.end(),
                           [&address](const Gpu &gpu) { return !address.empty() && gpu.address == address; });
    }
    /// What kept it from showing anything: 0 when it did, or was not asked.
    int error() const { return m_error; }
    const std::string &name() const { return m_name; }

private:
    bool isWanted(const Take &take, Time now) {
        if (!take.options.gpuLibrary.empty())
            return true;
        if (now >= m_lookAt) {
            m_lookAt = now + libraryRest;
            m_isDriverLoaded = std::any_of(std::begin(driverFiles), std::end(driverFiles), [&take](const char *path) {
                return take.root.open(path, O_PATH | O_CLOEXEC).valid();
            });
        }
        return m_isDriverLoaded;
    }

    // The GPUs that it showed last, without what it does not say now.
    void showSilent(Sample &sample) const {
        for (const Gpu &known : m_known) {
            Gpu &gpu = sample.gpus.append();
            gpu = known;
            forget(gpu, absenceOf(m_error));
        }
    }

    // A session that a call may be using is left to it.
    void close() {
        if (m_session == nullptr || !m_session->wasUsed())
            return;
        if (m_forked || !m_isIdle)
            return abandon();
        try {
            BoundedCall<NvmlAnswer> call("nvml end " + nextCallNumber(), BOUNDED_CALL_PATIENCE,
                                         [session = m_session](NvmlAnswer &) {
                                             session->close();
                                             return 0;
                                         });
            if (call.wait().error == 0)
                return;
        } catch (const std::bad_alloc &) { // it stays open
        }
        abandon();
    }

    void abandon() {
        if (m_session != nullptr)
            neverClose(std::move(m_session));
        m_session.reset();
    }

    BoundedReads<NvmlAnswer> m_calls{"nvml"};
    std::shared_ptr<NvmlSession> m_session; // null until it is asked
    std::string m_name;
    Rows<Gpu> m_known;
    Time m_lookAt, m_restsUntil;
    bool m_isDriverLoaded = false;
    bool m_isAsked = false; // in this sample
    bool m_isIdle = true;   // no call of it runs
    int m_error = 0;
    bool m_forked = false; // this process is the child of a fork since the last sample
    ForkRepair m_forkRepair{[](void *gpus) { static_cast<NvmlGpus *>(gpus)->m_forked = true; }, this};
};

// What is known of a card from one sample to the next.
struct KnownCard {
    Gpu values;
    Time describeAt; // at once
};

struct CardAnswer {
    CardScope scope = CardScope::All;
    Gpu gpu;
    double costSeconds = 0;
};

struct ClientsAnswer {
    Rows<GpuProcess> processes;
    int error = 0;
    double costSeconds = 0;
};

class GpuReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        sample.gpus.clear();
        sample.gpuProcesses.clear();
        if (const int error = m_directory.read(take.root); error != 0)
            noteUnlessMissing(sample.area(Area::Gpus), error, cardDirectory);
        m_cards.startSample();
        m_rows.clear();
        for (const std::uint64_t number : m_directory.numbers()) {
            std::string name = "card" + std::to_string(number);
            KnownCard &card = m_cards.of(name);
            if (m_rows.empty() || m_rows.back() != &card) // its connectors begin with its name
                m_rows.push_back(&card);
            card.values.gpu = std::move(name);
        }
        m_cards.endSample();
        if (take.root.own())
            return;
        for (KnownCard *card : m_rows) {
            readDrmCard(take.root, CardScope::All, card->values);
            sample.gpus.append() = card->values;
        }
        listCards();
        if (!m_withClients.empty())
            noteUnlessMissing(sample.area(Area::Gpus), m_clients->read(take.root, m_withClients, sample.gpuProcesses),
                              "proc");
        loseWithoutGpus(sample);
    }

    void ask(Take &take) override {
        if (!take.root.own())
            return;
        m_nvml.ask(take);
        std::erase_if(m_rows, [this](const KnownCard *card) {
            return card->values.driver.valueOr("") == nvidia && m_nvml.has(card->values.address);
        });
        m_cardCalls.begin(take.deadline, m_rows.size());
        const Time now = std::chrono::steady_clock::now();
        for (const KnownCard *card : m_rows) {
            const CardScope scope = now >= card->describeAt ? CardScope::All : CardScope::Changing;
            m_cardCalls.ask(card->values.gpu,
                            [root = HostDirectory(take.root), known = card->values, scope](CardAnswer &answer) {
                                const std::int64_t before = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
                                answer.scope = scope;
                                answer.gpu = known;
                                readDrmCard(root, scope, answer.gpu);
                                answer.costSeconds = secondsSince(before, CLOCK_THREAD_CPUTIME_ID);
                                return 0;
                            });
        }
        askClients(take);
    }

    void finish(Take &take) override {
        if (!take.root.own())
            return;
        m_nvml.finish(take.sample);
        for (std::size_t place = 0; place < m_rows.size(); ++place)
            takeCard(take.sample, m_cardCalls.wait(place), *m_rows[place]);
        if (m_clientCalls.size() > 0)
            takeClients(take.sample, m_clientCalls.wait(0));
        loseWithoutGpus(take.sample);
    }

private:
    // The cards whose drivers say what their clients use.
    void listCards() {
        m_withClients.clear();
        for (const KnownCard *card : m_rows) {
            const std::string driver = card->values.driver.valueOr("");
            if (DrmClients::isWrittenBy(driver))
                m_withClients.push_back({card->values.gpu, card->values.address, driver});
        }
    }

    void askClients(const Take &take) {
        listCards();
        m_clientCalls.begin(take.deadline, 1);
        if (m_withClients.empty())
            return;
        if (std::exchange(m_forked, false))
            m_clients = std::make_shared<DrmClients>();
        m_clientCalls.ask(m_number, [root = HostDirectory(take.root), cards = m_withClients,
                                     clients = m_clients](ClientsAnswer &answer) {
            const std::int64_t before = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
            answer.error = clients->read(root, cards, answer.processes);
            answer.costSeconds = secondsSince(before, CLOCK_THREAD_CPUTIME_ID);
            return 0;
        });
    }

    void takeCard(Sample &sample, const BoundedRead<CardAnswer> &read, KnownCard &card) const {
        AreaState &state = sample.area(Area::Gpus);
        if (read.answer == nullptr) {
            const std::string file = cardDirectory + ('/' + card.values.gpu);
            noteFailure(state, read.error, file);
            if (read.error == ETIMEDOUT)
                noteSilence(state, read.silentSeconds, file);
            Gpu &gpu = sample.gpus.append();
            gpu = card.values;
            return forget(gpu, absenceOf(read.error));
        }
        state.costSeconds += read.answer->costSeconds;
        card.values = read.answer->gpu;
        if (read.answer->scope == CardScope::All)
            card.describeAt = std::chrono::steady_clock::now() + spread(cardPeriod, card.values.gpu);
        const bool isShown = card.values.driver.valueOr("") == nvidia && m_nvml.has(card.values.address);
        if (!isShown)
            sample.gpus.append() = card.values;
    }

    static void takeClients(Sample &sample, const BoundedRead<ClientsAnswer> &read) {
        AreaState &state = sample.area(Area::Gpus);
        if (read.answer == nullptr) {
            noteFailure(state, read.error, "proc");
            if (read.error == ETIMEDOUT)
                noteSilence(state, read.silentSeconds, "proc");
            return;
        }
        state.costSeconds += read.answer->costSeconds;
        noteUnlessMissing(state, read.answer->error, "proc");
        for (const GpuProcess &process : read.answer->processes)
            sample.gpuProcesses.append() = process;
    }

    // No card, and no answer of the library.
    void loseWithoutGpus(Sample &sample) const {
        const bool isSilent = m_nvml.error() != 0;
        if (!m_rows.empty() || (!isSilent && !sample.gpus.empty()))
            return;
        if (isSilent)
            loseArea(sample, Area::Gpus, m_nvml.error(), m_nvml.name());
        else
            loseArea(sample, Area::Gpus, ENOENT, cardDirectory);
    }

    NumberedDirectory m_directory{cardDirectory, "card", cardsAtMost};
    DeviceTable<KnownCard> m_cards;
    std::vector<KnownCard *> m_rows;
    NvmlGpus m_nvml;
    BoundedReads<CardAnswer> m_cardCalls{"gpu"};
    BoundedReads<ClientsAnswer> m_clientCalls{"gpu clients"};
    std::string m_number = nextCallNumber();
    std::shared_ptr<DrmClients> m_clients = std::make_shared<DrmClients>();
    std::vector<DrmClients::Card> m_withClients;
    bool m_forked = false; // this process is the child of a fork since the last sample
    ForkRepair m_forkRepair{[](void *reader) { static_cast<GpuReader *>(reader)->m_forked = true; }, this};
};

} // namespace

std::unique_ptr<AreaReader> gpuReader() {
    return std::make_unique<GpuReader>();
}

} // namespace zel
