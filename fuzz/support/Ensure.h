// What must hold whatever the input is. A violation ends the program, which makes the input a finding.
#pragma once

#include "PerfTextReader.h"

#include <initializer_list>
#include <string_view>

namespace fuzz {

/// Ends the program with `what` unless `holds`.
void ensure(bool holds, const char *what);

/// The text is terminated within its field.
template<std::size_t Size> void ensureTerminated(const char (&field)[Size]) {
    ensure(std::string_view(field, Size).find('\0') != std::string_view::npos, "a field is not terminated");
}

/// A number as the performance text has it ("12", "-1.00"), the "-" of a value that is not known, or an infinity: a
/// rate over no time at all. Never not-a-number.
bool isNumber(std::string_view value);

/// Reads `text` back as a table of `rows` rows (any number with -1) whose columns are numbers, but for `textColumns`.
PerfTable ensureTable(const char *text, int rows, std::initializer_list<std::string_view> textColumns);

/// The same for a push text that holds one table.
PerfTable ensurePushTable(const char *text, int rows, std::initializer_list<std::string_view> textColumns);

/// Reads `text` back as a push text of `metrics` scalar numbers.
void ensurePushScalars(const char *text, std::size_t metrics);

} // namespace fuzz
