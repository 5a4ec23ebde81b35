// Writes inventories as JSON.
#include "export/HardwareJson.h"

#include "export/HardwareWalk.h"
#include "export/JsonSink.h"

namespace zel {

namespace {

// How reading each part went.
void writeParts(const Hardware &hardware, JsonSink &sink) {
    sink.openObject("parts");
    for (std::size_t index = 0; index < HARDWARE_PART_COUNT; ++index) {
        const AreaState &state = hardware.parts[index];
        if (!state.asked)
            continue;
        sink.openObject(hardwarePartName(static_cast<HardwarePart>(index)));
        writeSilence({hardware.realtimeNanoseconds, hardware.elapsedSeconds}, state, sink);
        if (state.error != 0)
            writeError(state, sink);
        if (state.absence != Absence::None)
            sink.text("absent", absenceName(state.absence));
        sink.closeObject();
    }
    sink.closeObject();
}

} // namespace

void writeJson(const Hardware &hardware, std::string &out) {
    JsonSink sink(out);
    sink.seconds("time_seconds", hardware.realtimeNanoseconds);
    sink.timestamp("time", hardware.realtimeNanoseconds);
    sink.number("elapsed_seconds", hardware.elapsedSeconds);
    walk(hardware, sink);
    writeParts(hardware, sink);
    out += '}';
}

} // namespace zel
