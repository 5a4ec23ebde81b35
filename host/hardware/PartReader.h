// What every reader of a part of the inventory is: functions that run on threads of bounded calls, so that a device
// which never answers holds up nothing else (source/BoundedReads.h).
//
// A part is read by one call, or lists its devices first and is then asked for each by a call of its own.
#pragma once

#include "host/Hardware.h"
#include "host/areas/AreaReader.h"
#include "host/source/HostDirectory.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// One call in progress. Everything in it is of that call alone.
struct HardwareRead {
    const HostDirectory &root;
    const HardwareOptions &options;
    Hardware &found;  // takes the rows
    AreaState &state; // of the part: noteFailure()

    /// None when what identifies a piece may be read; else why it is not.
    Absence serials() const;
};

/// A file that was read, or the errno that kept it from that.
struct PartText {
    std::string text;
    int error = 0;
};

struct PartReader {
    std::string_view directory; // of its devices, for messages: "sys/bus/pci/devices"
    /// Names the devices; null for a part that is read by one call. 0, or the errno that kept them from being listed;
    /// what is named then counts all the same.
    int (*list)(const HostDirectory &root, std::vector<std::string> &names);
    /// Appends the rows of one device, none when it has gone; with an empty name reads the whole part.
    void (*read)(HardwareRead &read, const std::string &name);
    /// Appends the row of a device that did not answer: its name, and every reading for this reason (forget()).
    void (*lose)(Hardware &found, const std::string &name, Absence reason);
    /// Files that complete the rows of all devices, such as one of names: read by a call of its own, while the devices
    /// are asked. Null where there is none.
    void (*readTexts)(const HostDirectory &root, std::vector<PartText> &texts) = nullptr;
    /// Completes the rows. The error is why there are no texts: their call did not answer.
    void (*useTexts)(Hardware &found, int error, std::span<const PartText> texts) = nullptr;
};

/// Adds the names in a directory, and puts all in ascending order. 0, or an errno: E2BIG when names beyond the first
/// LISTING_LIMIT (source/Listing.h) were left out. A directory that does not exist has no names and is no failure.
int listDevices(const HostDirectory &root, const char *directory, std::vector<std::string> &names);

/// Each in a file of its own.
const PartReader &machinePart();
const PartReader &processorsPart();
const PartReader &memoryPart();
const PartReader &pciPart();
const PartReader &networkPart();
const PartReader &disksPart();
const PartReader &nvmePart();
const PartReader &fibreChannelPart();
const PartReader &gpusPart();

} // namespace zel
