// Sockets of processors, as the firmware describes them in its tables (SMBIOS type 4). Root only. An empty socket is a
// row too.
#pragma once

#include "host/Schema.h"

namespace zel {

struct ProcessorSocket {
    std::string socket;        // "CPU1", as it is printed on the board
    std::uint64_t handle = 0;  // of its structure in the tables
    Count populated;           // 1 or 0
    Reading<std::string> type; // "Central Processor"
    Reading<std::string> status;
    Reading<std::string> manufacturer, version; // the version is the model's name
    Count cores, enabledCores, threads;
    Count highestHertz, bootHertz, busHertz; // the highest of the socket's processors, the one at boot, the bus
    Number volts;
    Reading<std::string> partNumber, serial, assetTag;
};

template<> std::span<const Field<ProcessorSocket>> fieldsOf<ProcessorSocket>();

} // namespace zel
