// What the call of one area reads and writes, where a file of that area may hang. A call that hangs outlives its
// sampler: it holds the room, with everything in it.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/BoundedReads.h"

#include <memory>
#include <string>

namespace zel {

/// What such a call answers: everything else is in the room.
struct AreaRead {};

/// It is the call's while that runs, and else the sampler's.
struct AreaRoom {
    std::shared_ptr<const Options> options;
    HostDirectory root;
    std::unique_ptr<AreaReader> reader;
    SharedSource stat{"proc/stat", Records::One};
    SharedSource loadavg{"proc/loadavg", Records::One};
    Sample sample = {};
    bool waiting = false; // a call of it was started and has not answered

    Take takeInto(Sample &target, BoundedPass::Time deadline) {
        return {root, *options, deadline, stat, loadavg, target};
    }
    /// The work of the call.
    void read(Area area, BoundedPass::Time deadline);
};

/// A number for the names of calls that no other caller may join.
std::string nextCallNumber();

/// Hands the part of an area over.
void exchangeArea(Sample &one, Sample &other, Area area);

} // namespace zel
