// Errors of memory that its controllers found: /sys/devices/system/edac/mc. Any user. Part of the area memory.
//
// An error is corrected (CE) or not (UE). A controller counts all of its errors, those it could not tell the place of
// as well. Rows (csrows) are how older kernels and drivers divide the memory, modules (dimm0, or rank0 where the driver
// knows ranks alone) how newer ones do; both are there where the kernel has both. Counters begin anew when somebody
// writes to reset_counters: rates are not yet then.
#pragma once

#include "host/Schema.h"

namespace zel {

struct EdacController {
    std::uint64_t controller = 0;
    Reading<std::string> name; // "skx_edac#mc0", "Sandy Bridge SrcID#0_Ha#0"
    Count sizeBytes;
    Count sinceResetSeconds;
    Count correctedErrors, uncorrectedErrors;
    Count correctedPlaceless, uncorrectedPlaceless; // part of these: nobody knows of which row
};

struct EdacRow {
    std::uint64_t controller = 0, row = 0;
    Count correctedErrors, uncorrectedErrors;
};

struct EdacModule {
    std::uint64_t controller = 0;
    std::string module;            // "dimm0"
    Reading<std::string> label;    // "CPU_SrcID#0_MC#0_Chan#0_DIMM#0", or what the administrator gave it
    Reading<std::string> location; // "channel 0 slot 0"
    Reading<std::string> type;     // "Registered-DDR4"
    Count sizeBytes;
    Count correctedErrors, uncorrectedErrors;
};

template<> std::span<const Field<EdacController>> fieldsOf<EdacController>();
template<> std::span<const Field<EdacRow>> fieldsOf<EdacRow>();
template<> std::span<const Field<EdacModule>> fieldsOf<EdacModule>();

} // namespace zel
