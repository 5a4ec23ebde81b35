// A record as it arrives: HOST SERIES NUMBER NAME SECONDS BYTES \n TEXT (agent/Record.h has the protocol).
#pragma once

#include <cstddef>
#include <string>

struct ReceivedRecord {
    std::string host;
    std::string series;
    unsigned long long number = 0;
    std::string line; // all of the first line, without its line feed
    std::string text;
};

/// Reads the first line of a record, and the length of the text that follows it. False when it is anything else: words
/// of 1 to 64 letters, digits and "._-:@", plain decimal numbers, one blank between them.
bool readRecordLine(const std::string &line, ReceivedRecord &record, std::size_t &bytes);
