// The lines of a file of pressure stall information, of the machine or of a cgroup.
#pragma once

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <array>

namespace zel {

/// Where the four numbers of a line go: the averages over 10, 60 and 300 seconds, and the seconds.
template<class Row> using PressurePlaces = std::array<Number Row::*, 4>;

/// Sample: some avg10=0.23 avg60=7.99 avg300=13.40 total=233938024
/// `cursor` is behind the first word. What does not follow the format is malformed, with all that stands after it.
template<class Row> bool takePressureLine(const char *cursor, const PressurePlaces<Row> &places, Row &row) {
    struct Keyed {
        std::string_view key;
        unsigned shift; // the power of ten by which it is divided: a percentage, or microseconds
    };
    constexpr Keyed keys[] = {{"avg10=", 2}, {"avg60=", 2}, {"avg300=", 2}, {"total=", 6}};
    for (const auto place : places)
        row.*place = Absence::Malformed;
    for (std::size_t index = 0; index < places.size(); ++index) {
        const std::string_view key = keys[index].key;
        cursor = skipSpaces(cursor);
        if (!startsWith(cursor, key) || isSpace(cursor[key.size()]))
            return false;
        cursor += key.size();
        row.*places[index] = takeDecimal(cursor, keys[index].shift);
        if (!(row.*places[index]))
            return false;
    }
    return true;
}

template<class Row>
void losePressure(const PressurePlaces<Row> &some, const PressurePlaces<Row> &full, Absence reason, Row &row) {
    for (const auto *places : {&some, &full}) {
        for (const auto place : *places)
            row.*place = reason;
    }
}

/// Takes the lines of a text. False when one is malformed, or when there is none that the kernel writes: then both are
/// malformed.
template<class Row>
bool takePressure(const char *line, const PressurePlaces<Row> &some, const PressurePlaces<Row> &full, Row &row) {
    constexpr std::string_view someWord = "some ", fullWord = "full ";
    bool whole = true, any = false;
    for (; *line != '\0'; line = nextLine(line)) {
        const bool isSome = startsWith(line, someWord);
        if (!isSome && !startsWith(line, fullWord))
            continue;
        any = true;
        whole &= takePressureLine(line + someWord.size(), isSome ? some : full, row);
    }
    if (!any)
        losePressure(some, full, Absence::Malformed, row);
    return whole && any;
}

} // namespace zel
