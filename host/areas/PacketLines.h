// Parses /proc/net/sockstat, softnet_stat, stat/nf_conntrack and arp. Each function gives false when something of its
// text is not what kernels write.
#pragma once

#include "host/Sample.h"

#include <array>
#include <cstdint>
#include <string>

namespace zel {

/// Takes "sockstat" or "sockstat6". Keys that no field has go to the other protocols.
bool takeSocketStatistics(std::string_view file, const char *text, std::uint64_t pageBytes, Sample &sample);

/// Fills a row for each line.
bool takeSoftnet(const char *text, Rows<Softnet> &rows);

/// Sums the lines of the processors under the names of the heading.
bool takeConntrack(const char *text, Conntrack &conntrack);

/// Fills a row for each interface.
bool takeArpLines(const char *text, Rows<Neighbours> &rows);

} // namespace zel
