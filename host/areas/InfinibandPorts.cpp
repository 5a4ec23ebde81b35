// Reads the ports of the InfiniBand adapters.
#include "host/areas/InfinibandPorts.h"

#include "host/source/Refresh.h"

#include <cerrno>

namespace zel {

namespace {

// How long what describes a port holds, and that a counter is not supported.
constexpr std::chrono::seconds namesPeriod{30};
constexpr std::size_t portsAtMost = 4096;

} // namespace

void InfinibandPorts::list(Take &take) {
    const std::int64_t now = coarseSeconds();
    if (take.root.own() && now - m_listedAt < NamedDirectory::SECONDS_BEFORE_NEXT_LOOK)
        return;
    m_listedAt = now;
    m_devices.expire();
    m_places.clear();
    m_names.clear();
    const int error = m_devices.read(take.root);
    noteUnlessMissing(take.sample.area(Area::Interfaces), error, m_devices.path());
    for (const std::string &device : m_devices.names()) {
        for (const std::uint64_t port : infinibandPorts(take.root, device)) {
            if (m_places.size() == portsAtMost)
                return noteFailure(take.sample.area(Area::Interfaces), E2BIG, m_devices.path());
            m_places.push_back({device, port});
            m_names.push_back(device + "/ports/" + std::to_string(port));
        }
    }
}

void InfinibandPorts::read(Take &take) {
    take.sample.infinibandPorts.clear();
    take.sample.infinibandCounters.clear();
    list(take);
    if (take.root.own())
        return;
    for (const InfinibandPlace &place : m_places) {
        InfinibandReading reading;
        if (readInfinibandPort(take.root, place, {}, reading) == 0)
            addRows(take.sample, place, reading);
    }
}

void InfinibandPorts::ask(Take &take) {
    if (m_places.empty())
        return;
    const Time now = std::chrono::steady_clock::now();
    m_calls.begin(take.deadline, m_places.size());
    m_known.startSample();
    for (std::size_t index = 0; index < m_places.size(); ++index) {
        const Known &known = m_known.of(m_names[index]);
        const InfinibandScope scope = now >= known.namesDue ? InfinibandScope() : supportedCounters(known.values);
        m_calls.ask(m_names[index], [root = HostDirectory(take.root), place = m_places[index], scope](Answer &answer) {
            answer.scope = scope;
            return readInfinibandPort(root, place, scope, answer.reading);
        });
    }
    m_known.endSample();
}

void InfinibandPorts::finish(Take &take) {
    for (std::size_t index = 0; index < m_places.size(); ++index) {
        Known &known = m_known.of(m_names[index]);
        if (takeAnswer(take.sample.area(Area::Interfaces), m_calls.wait(index), m_names[index], known))
            addRows(take.sample, m_places[index], known.values);
        else
            m_listedAt = LONG_AGO; // it went: the next sample looks which there are
    }
}

// False when there is no such port any more.
bool InfinibandPorts::takeAnswer(AreaState &state, const BoundedRead<Answer> &read, const std::string &name,
                                 Known &known) {
    if (read.answer != nullptr) {
        assignInfiniband(read.answer->reading, read.answer->scope, known.values);
        if (read.answer->scope.names == nullptr)
            known.namesDue = std::chrono::steady_clock::now() + spread(namesPeriod, name);
        return true;
    }
    known.namesDue = Time();
    if (read.error == ENOENT)
        return false;
    forget(known.values.port, absenceOf(read.error));
    for (Count &value : known.values.values)
        value = absenceOf(read.error);
    const std::string file = INFINIBAND_DIRECTORY + ("/" + name);
    noteFailure(state, read.error, file);
    if (read.error == ETIMEDOUT)
        noteSilence(state, read.silentSeconds, file);
    return true;
}

void InfinibandPorts::addRows(Sample &sample, const InfinibandPlace &place, const InfinibandReading &reading) {
    InfinibandPort &port = sample.infinibandPorts.append();
    port = reading.port;
    port.device = place.device;
    port.port = place.port;
    for (std::size_t index = 0; index < reading.values.size(); ++index) {
        InfinibandCounter &counter = sample.infinibandCounters.append();
        counter.device = place.device;
        counter.port = place.port;
        counter.name = (*reading.names)[index];
        counter.value = reading.values[index];
    }
}

} // namespace zel
