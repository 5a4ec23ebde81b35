// The areas of a root that is a directory, where any file may hang: each is read by a bounded call into a sample of its
// own, whose part is handed over when the call answers in time. Otherwise the area is timed out, and not asked again
// until its call has returned.
//
// A call that hangs outlives this object, with everything that it reads and writes.
#pragma once

#include "host/areas/AreaRoom.h"
#include "threads/ForkRepair.h"

#include <array>
#include <memory>
#include <optional>
#include <string>

namespace zel {

class RootAreas {
public:
    /// `readers` are null for the areas that are not asked.
    RootAreas(const Options &options, const std::array<MakeReader, AREA_COUNT> &readers);
    RootAreas(const RootAreas &) = delete;
    RootAreas &operator=(const RootAreas &) = delete;

    /// Reads the areas until the deadline.
    void read(Sample &sample, BoundedPass::Time deadline);

private:
    struct InProgress;

    bool openRoot(Sample &sample, BoundedPass::Time deadline);
    void lose(Sample &sample, std::size_t index, int error, double silentSeconds) const;
    void startArea(std::size_t index, InProgress &pass);
    void collectWhenSettled(std::size_t index, std::chrono::nanoseconds time, InProgress &pass);
    void collect(std::size_t index, InProgress &pass);
    void renewAfterFork();
    static void repair(void *areas);

    std::shared_ptr<const Options> m_options;
    std::array<MakeReader, AREA_COUNT> m_readers;
    std::string m_number; // of the sampler, in the names of its calls: no other joins them
    BoundedReads<std::optional<HostDirectory>> m_opening{"root"};
    BoundedReads<AreaRead> m_calls{"area"};
    std::optional<HostDirectory> m_root;
    std::array<std::shared_ptr<AreaRoom>, AREA_COUNT> m_rooms;
    bool m_forked = false; // this process is the child of a fork since the last sample
    ForkRepair m_forkRepair{repair, this};
};

} // namespace zel
