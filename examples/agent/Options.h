// The command line:  agent [--to HOST:PORT] [--cycle SECONDS] [--host NAME]
#pragma once

#include <string>

namespace agent {

struct Options {
    std::string receiver; // HOST:PORT; empty: standard output
    int cycle = 5;        // seconds
    std::string host;     // the name of the sampled host in every record; its own one when it is not given
};

/// Reads the command line; false, with a line on standard error, when it is not as above.
bool readOptions(int argc, char **argv, Options &options);

} // namespace agent
