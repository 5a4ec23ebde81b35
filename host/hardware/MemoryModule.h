// Memory modules and the arrays of slots that they are in, as the firmware describes them in its tables (SMBIOS types
// 16 and 17). Root only. Firmware that fills its tables carelessly is shown as it is: a slot named twice stays two
// rows.
//
// Every slot is a row, an empty one too: it has no size. What the firmware leaves open ("Unknown", number 0) and what
// its version of the tables does not have yet is unsupported.
#pragma once

#include "host/Schema.h"

namespace zel {

struct MemoryModule {
    std::string slot, bank;   // "DIMM_A1", as it is printed on the board; the channel or node of it
    std::uint64_t handle = 0; // of its structure in the tables
    Count array;              // the handle of its array
    Count installed;          // 1, or 0 for an empty slot
    Count sizeBytes;
    Reading<std::string> type; // "DDR5"
    Reading<std::string> typeDetail;
    Reading<std::string> formFactor;             // "DIMM"
    Reading<std::string> technology;             // "DRAM", "NVDIMM-N"
    Count fastestTransfers, configuredTransfers; // a second
    Count ranks;
    Count totalBits, dataBits, errorCorrectionBits; // width; the bits beyond the data are those of the correction
    Number lowestVolts, highestVolts, configuredVolts;
    Reading<std::string> manufacturer, partNumber, serial, assetTag, firmware;
};

struct MemoryArray {
    std::uint64_t handle = 0;
    Reading<std::string> location, use; // "System Board Or Motherboard"; "System Memory"
    Reading<std::string> errorCorrection;
    Count slots, installedModules;
    Count highestBytes; // that it takes
};

template<> std::span<const Field<MemoryModule>> fieldsOf<MemoryModule>();
template<> std::span<const Field<MemoryArray>> fieldsOf<MemoryArray>();

} // namespace zel
