// The fields of the errors of memory.
#include "host/Edac.h"

namespace zel {

namespace {

constexpr std::string_view provider = "memory with error correction and an EDAC driver";

constexpr Entries<EdacController> controller{Area::Memory, "edac_controllers", "/sys/devices/system/edac/mc/mc*",
                                             provider};
constexpr Field<EdacController> controllerFields[] = {
    controller.label("controller", &EdacController::controller, "Number of the memory controller."),
    controller.info("name", &EdacController::name, "Its name, as the driver has it."),
    controller.gauge("size_bytes", &EdacController::sizeBytes, Unit::Bytes, "Memory behind it."),
    controller.gauge("since_reset_seconds", &EdacController::sinceResetSeconds, Unit::Seconds,
                     "Time since its counters were reset."),
    controller.counter("corrected_errors_total", &EdacController::correctedErrors, Unit::None,
                       "Errors that were corrected."),
    controller.counter("uncorrected_errors_total", &EdacController::uncorrectedErrors, Unit::None,
                       "Errors that could not be corrected."),
    controller.counter("corrected_placeless_total", &EdacController::correctedPlaceless, Unit::None,
                       "Those of the corrected ones whose place nobody knows."),
    controller.counter("uncorrected_placeless_total", &EdacController::uncorrectedPlaceless, Unit::None,
                       "Those of the others whose place nobody knows."),
};

constexpr Entries<EdacRow> row{Area::Memory, "edac_rows", "/sys/devices/system/edac/mc/mc*/csrow*",
                               "an EDAC driver and CONFIG_EDAC_LEGACY_SYSFS=y"};
constexpr Field<EdacRow> rowFields[] = {
    row.label("controller", &EdacRow::controller, "Number of the memory controller."),
    row.label("row", &EdacRow::row, "Number of the row (csrow)."),
    row.counter("corrected_errors_total", &EdacRow::correctedErrors, Unit::None, "Errors that were corrected."),
    row.counter("uncorrected_errors_total", &EdacRow::uncorrectedErrors, Unit::None,
                "Errors that could not be corrected."),
};

constexpr Entries<EdacModule> module{Area::Memory, "edac_modules", "/sys/devices/system/edac/mc/mc*/dimm*", provider};
constexpr Entries<EdacModule> counted =
    module.from("/sys/devices/system/edac/mc/mc*/dimm*", "kernel 4.10 and an EDAC driver");
constexpr Field<EdacModule> moduleFields[] = {
    module.label("controller", &EdacModule::controller, "Number of the memory controller."),
    module.label("module", &EdacModule::module, "Name of the module, such as dimm0; rank0 where only ranks are known."),
    module.info("label", &EdacModule::label, "Name of its slot on the board, where it is known."),
    module.info("location", &EdacModule::location, "Where the controller has it, such as channel 0 slot 0."),
    module.info("type", &EdacModule::type, "Kind of memory, such as Registered-DDR4."),
    module.gauge("size_bytes", &EdacModule::sizeBytes, Unit::Bytes, "Its size."),
    counted.counter("corrected_errors_total", &EdacModule::correctedErrors, Unit::None, "Errors that were corrected."),
    counted.counter("uncorrected_errors_total", &EdacModule::uncorrectedErrors, Unit::None,
                    "Errors that could not be corrected."),
};

} // namespace

template<> std::span<const Field<EdacController>> fieldsOf<EdacController>() {
    return controllerFields;
}

template<> std::span<const Field<EdacRow>> fieldsOf<EdacRow>() {
    return rowFields;
}

template<> std::span<const Field<EdacModule>> fieldsOf<EdacModule>() {
    return moduleFields;
}

} // namespace zel
