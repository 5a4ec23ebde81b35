// Writes the values and failures that every JSON object of ours has.
#include "export/JsonSink.h"

#include <cstring>

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

} // namespace

void appendJsonValue(std::string &out, const Value &value) {
    switch (value.type()) {
    case Value::Type::Absent:
        out += "null";
        break;
    case Value::Type::Unsigned:
        appendNumber(out, value.asUnsigned());
        break;
    case Value::Type::Real:
        appendNumber(out, value.asReal());
        break;
    case Value::Type::Text:
        appendJsonText(out, value.asText());
        break;
    }
}

void writeError(const AreaState &state, JsonSink &sink) {
    const char *const text = strerrordesc_np(state.error);
    sink.openObject("error");
    sink.text("file", state.file);
    sink.number("errno", static_cast<std::uint64_t>(state.error));
    sink.text("text", text == nullptr ? "" : text);
    sink.closeObject();
}

void writeSilence(const ReadingTime &time, const AreaState &state, JsonSink &sink) {
    if (state.silentSeconds <= 0)
        return;
    const double since = time.elapsedSeconds - state.silentSeconds; // from the start of the sample on
    sink.number("silent_seconds", state.silentSeconds);
    sink.timestamp("silent_since", time.realtimeNanoseconds + static_cast<std::int64_t>(since * nanosecondsPerSecond));
}

} // namespace zel
