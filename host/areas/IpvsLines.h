// Parses /proc/net/ip_vs_stats and ip_vs. Each function gives false when something of its text is not what kernels
// write.
#pragma once

#include "host/Ipvs.h"
#include "host/Rows.h"

namespace zel {

/// Takes the sums. All of them are malformed when one is.
bool takeIpvsStatistics(const char *text, Ipvs &ipvs);

/// Adds a row for each server of each service.
bool takeIpvsBackends(const char *text, Rows<IpvsBackend> &rows);

} // namespace zel
