// A record as it arrives: HOST SERIES NUMBER NAME SECONDS BYTES \n TEXT (agent/Record.h has the protocol).
#pragma once

#include <string>

struct ReceivedRecord {
    std::string host;
    std::string series;
    unsigned long long number = 0;
    std::string line; // all of the first line, without its line feed
    std::string text;
};
