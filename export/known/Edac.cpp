// The known names of errors of memory.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter;

constexpr KnownLabel<EdacController> labels[] = {{"controller", &EdacController::controller}};
constexpr KnownField<EdacController> fields[] = {
    {&EdacController::correctedErrors, "node_edac_correctable_errors_total", counter, "Errors that were corrected."},
    {&EdacController::uncorrectedErrors, "node_edac_uncorrectable_errors_total", counter,
     "Errors that could not be corrected."},
};
constexpr KnownTable<EdacController> controllers{.rows = &Sample::edacControllers, .labels = labels, .fields = fields};

// Errors of a row, and those of a controller whose row nobody knows.
void writeRows(const Sample &sample, MetricSink &sink, Count EdacRow::*ofRow, Count EdacController::*ofNoRow) {
    for (const EdacController &controller : sample.edacControllers)
        sink.label("controller", controller.controller).label("csrow", "unknown").value(controller.*ofNoRow);
    for (const EdacRow &row : sample.edacRows)
        sink.label("controller", row.controller).label("csrow", row.row).value(row.*ofRow);
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(controllers, sample, sink);
    sink.family("node_edac_csrow_correctable_errors_total", counter, "Errors of a row that were corrected.");
    writeRows(sample, sink, &EdacRow::correctedErrors, &EdacController::correctedPlaceless);
    sink.family("node_edac_csrow_uncorrectable_errors_total", counter, "Errors of a row that could not be corrected.");
    writeRows(sample, sink, &EdacRow::uncorrectedErrors, &EdacController::uncorrectedPlaceless);
}

void listFields(KnownFields &known) {
    known.add(controllers);
    known.add<EdacController>({&EdacController::correctedPlaceless, &EdacController::uncorrectedPlaceless});
    known.add<EdacRow>({&EdacRow::controller, &EdacRow::row, &EdacRow::correctedErrors, &EdacRow::uncorrectedErrors});
}

} // namespace

const KnownMetrics knownEdac{Area::Memory, write, listFields};

} // namespace zel
