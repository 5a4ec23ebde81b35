// A sample, or its rates, in the line protocol of time-series databases.
//
//   disks,host=db1,name=vda reads_total=812i,read_seconds_total=0.5,scheduler="none" 1795238415260000001
//
// The measurement is the section, labels are tags, all other fields are fields: whole numbers with an i, numbers with
// a fraction as the shortest text that gives the same number again, texts in quotes. The time is that of the sample, in
// nanoseconds. An absent value is left out, and a row without values too; so is a whole number that does not fit 63
// bits, which readers refuse. The measurement "areas" says of each area what reading it cost, since when it has not
// answered, and why it has nothing: cost_seconds, silent_seconds, absent.
//
// Commas, blanks, equals signs and backslashes of tags are escaped by a backslash, quotes and backslashes of texts too.
// Bytes that are no UTF-8 are U+FFFD, and so are characters that act on a terminal or turn the direction of a line: a
// line feed ends a line wherever it stands.
#pragma once

#include "host/Rates.h"

#include <span>
#include <string>
#include <string_view>

namespace zel {

/// Its memory is used again from text to text: in steady state nothing is allocated. It belongs to one thread.
class LineWriter {
public:
    /// Appends to `out`. `areas` names what is written; empty: all that the sample was asked for. With `rates`, which
    /// were made of this sample and an earlier one, the rate of every counter stands in its place; null: counters.
    /// `host` is a tag of every line; empty: no such tag.
    void write(const Sample &sample, const Rates *rates, std::span<const Area> areas, std::string_view host,
               std::string &out);

private:
    std::string m_fields; // of the line that is written
};

} // namespace zel
