// Reads the Fibre Channel ports, each by a call that may hang: the firmware of the adapter may have to answer.
#include "host/areas/AreaReader.h"
#include "host/areas/FibreChannelDetails.h"
#include "host/source/BoundedReads.h"
#include "host/source/DeviceTable.h"
#include "host/source/NumberedDirectory.h"
#include "host/source/Refresh.h"

#include <cerrno>

namespace zel {

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr std::uint64_t portsAtMost = 65536;
// How long names hold, and that a statistic is not supported.
constexpr std::chrono::seconds namesPeriod{30};

struct PortScope {
    FibreChannelScope statistics = FibreChannelScope().set();
    bool names = true;

    bool operator==(const PortScope &) const = default;
};

struct PortAnswer {
    PortScope scope;
    FibreChannelReading reading;
};

// What is known of a port from one sample to the next.
struct KnownPort {
    FibreChannelReading values;
    Time namesDue; // at once
    PortScope asked;
};

class FibreChannelReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        sample.fibreChannelPorts.clear();
        sample.fibreChannelEvents.clear();
        m_names.clear();
        const int error = m_ports.read(take.root);
        if (error != 0 && error != E2BIG)
            return loseArea(sample, Area::FibreChannel, error, m_ports.path());
        if (error != 0)
            noteFailure(sample.area(Area::FibreChannel), error, m_ports.path()); // the first of them are there
        for (const std::uint64_t number : m_ports.numbers())
            m_names.push_back("host" + std::to_string(number));
        if (take.root.own())
            return;
        FibreChannelReading reading;
        for (const std::string &name : m_names) {
            const PortScope all;
            if (readFibreChannelPort(take.root, name, all.statistics, all.names, reading) == 0)
                addRow(sample, name, reading);
        }
    }

    void ask(Take &take) override {
        if (!take.root.own())
            return;
        const Time now = std::chrono::steady_clock::now();
        m_calls.begin(take.deadline, m_names.size());
        m_known.startSample();
        for (const std::string &name : m_names) {
            KnownPort &known = m_known.of(name);
            known.asked = now >= known.namesDue ? PortScope() : PortScope{supportedStatistics(known.values), false};
            m_calls.ask(name, [root = HostDirectory(take.root), name, scope = known.asked](PortAnswer &answer) {
                answer.scope = scope;
                return readFibreChannelPort(root, name, scope.statistics, scope.names, answer.reading);
            });
        }
        m_known.endSample();
    }

    void finish(Take &take) override {
        if (!take.root.own())
            return;
        for (std::size_t place = 0; place < m_calls.size(); ++place) {
            KnownPort &known = m_known.of(m_names[place]);
            if (takeAnswer(take.sample.area(Area::FibreChannel), m_calls.wait(place), m_names[place], known))
                addRow(take.sample, m_names[place], known.values);
            else
                m_ports.expire(); // it went: the next sample looks which there are
        }
    }

private:
    // False when there is no such port any more.
    static bool takeAnswer(AreaState &state, const BoundedRead<PortAnswer> &read, const std::string &name,
                           KnownPort &known) {
        if (read.answer != nullptr) {
            const PortScope &scope = read.answer->scope;
            assignFibreChannel(read.answer->reading, scope.statistics, scope.names, known.values);
            if (scope.names)
                known.namesDue = std::chrono::steady_clock::now() + spread(namesPeriod, name);
            return true;
        }
        known.namesDue = Time();
        if (read.error == ENOENT)
            return false;
        forget(known.values.port, absenceOf(read.error));
        forget(known.values.events, absenceOf(read.error));
        const std::string file = FC_HOST_DIRECTORY + ('/' + name);
        noteFailure(state, read.error, file);
        if (read.error == ETIMEDOUT)
            noteSilence(state, read.silentSeconds, file);
        return true;
    }

    // Copies keep the memory of the texts of the row.
    static void addRow(Sample &sample, const std::string &name, FibreChannelReading &reading) {
        reading.port.name = name;
        reading.events.name = name;
        sample.fibreChannelPorts.append() = reading.port;
        sample.fibreChannelEvents.append() = reading.events;
    }

    NumberedDirectory m_ports{FC_HOST_DIRECTORY, "host", portsAtMost};
    std::vector<std::string> m_names;
    DeviceTable<KnownPort> m_known;
    BoundedReads<PortAnswer> m_calls{"fc_host"};
};

} // namespace

std::unique_ptr<AreaReader> fibreChannelReader() {
    return std::make_unique<FibreChannelReader>();
}

} // namespace zel
