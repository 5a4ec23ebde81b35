// Reads the areas of a root that is a directory, each by a call that may hang.
#include "host/areas/RootAreas.h"

#include <algorithm>
#include <utility>

namespace zel {

// One sample being read.
struct RootAreas::InProgress {
    static constexpr std::size_t NO_PLACE = static_cast<std::size_t>(-1);

    Sample &sample;
    BoundedPass::Time deadline;
    std::array<std::size_t, AREA_COUNT> places; // of the calls that have not answered yet
    std::array<bool, AREA_COUNT> answered{};
    std::size_t silent = 0; // how many have not answered yet

    InProgress(Sample &target, BoundedPass::Time until) : sample(target), deadline(until) { places.fill(NO_PLACE); }
};

RootAreas::RootAreas(const Options &options, const std::array<MakeReader, AREA_COUNT> &readers)
    : m_options(std::make_shared<const Options>(options)), m_readers(readers), m_number(nextCallNumber()) {}

// A directory of a filesystem that hangs cannot even be opened.
bool RootAreas::openRoot(Sample &sample, BoundedPass::Time deadline) {
    if (m_root)
        return true;
    m_opening.begin(deadline, 1);
    const BoundedRead<std::optional<HostDirectory>> opening =
        m_opening.wait(m_opening.ask(m_number, [options = m_options](std::optional<HostDirectory> &root) {
            root.emplace(options->root);
            return root->error();
        }));
    if (opening.answer != nullptr) {
        m_root.emplace(**opening.answer);
        return true;
    }
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        if (sample.areas[index].asked)
            lose(sample, index, opening.error, opening.silentSeconds);
    }
    return false;
}

void RootAreas::lose(Sample &sample, std::size_t index, int error, double silentSeconds) const {
    beginArea(sample.areas[index]);
    loseArea(sample, static_cast<Area>(index), error, m_options->root);
    sample.areas[index].silentSeconds = silentSeconds;
}

void RootAreas::read(Sample &sample, BoundedPass::Time deadline) {
    if (std::exchange(m_forked, false))
        renewAfterFork();
    for (std::size_t index = 0; index < AREA_COUNT; ++index)
        sample.areas[index].asked = m_readers[index] != nullptr;
    if (!openRoot(sample, deadline))
        return;
    InProgress pass(sample, deadline);
    m_calls.begin(deadline, AREA_COUNT);
    for (std::size_t index = 0; index < AREA_COUNT; ++index)
        startArea(index, pass);
    // Every area gets its share of the time before one that hangs takes all of it: what follows an answer needs time
    // too.
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        const auto left = deadline - std::chrono::steady_clock::now();
        collectWhenSettled(index, left / static_cast<std::ptrdiff_t>(2 * std::max<std::size_t>(pass.silent, 1)), pass);
    }
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        if (pass.places[index] != InProgress::NO_PLACE)
            collect(index, pass);
    }
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        if (!pass.answered[index])
            continue;
        Take take = m_rooms[index]->takeInto(sample, deadline);
        doStep(*m_rooms[index]->reader, &AreaReader::finish, take, static_cast<Area>(index));
    }
}

void RootAreas::startArea(std::size_t index, InProgress &pass) {
    if (!pass.sample.areas[index].asked)
        return;
    std::shared_ptr<AreaRoom> &room = m_rooms[index];
    if (room == nullptr)
        room = std::make_shared<AreaRoom>(AreaRoom{m_options, *m_root, m_readers[index]()});
    const auto area = static_cast<Area>(index);
    room->waiting = true;
    pass.places[index] =
        m_calls.ask(m_number + ' ' + std::string(areaName(area)), [room, area, deadline = pass.deadline](AreaRead &) {
            room->read(area, deadline);
            return 0;
        });
    ++pass.silent;
    collectWhenSettled(index, std::chrono::nanoseconds::zero(), pass);
}

void RootAreas::collectWhenSettled(std::size_t index, std::chrono::nanoseconds time, InProgress &pass) {
    if (pass.places[index] != InProgress::NO_PLACE && m_calls.settledWithin(pass.places[index], time))
        collect(index, pass);
}

void RootAreas::collect(std::size_t index, InProgress &pass) {
    const auto area = static_cast<Area>(index);
    const BoundedRead<AreaRead> call = m_calls.wait(std::exchange(pass.places[index], InProgress::NO_PLACE));
    --pass.silent;
    if (call.error != 0)
        return lose(pass.sample, index, call.error, call.silentSeconds);
    m_rooms[index]->waiting = false;
    exchangeArea(pass.sample, m_rooms[index]->sample, area);
    pass.answered[index] = true;
    Take take = m_rooms[index]->takeInto(pass.sample, pass.deadline);
    doStep(*m_rooms[index]->reader, &AreaReader::ask, take, area);
}

void RootAreas::repair(void *areas) {
    static_cast<RootAreas *>(areas)->m_forked = true;
}

// What a thread of the parent was writing may be half written: the child leaves it alone. The reference of that thread,
// which does not exist here, keeps it from being destroyed.
void RootAreas::renewAfterFork() {
    for (std::shared_ptr<AreaRoom> &room : m_rooms) {
        if (room != nullptr && room->waiting)
            room.reset();
    }
}

} // namespace zel
