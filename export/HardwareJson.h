// An inventory as JSON: one object, without a line feed, as a sample is written (export/Json.h).
//
//   {"time_seconds":1795238415.26,"time":"2026-11-21T05:20:15.260000001Z","elapsed_seconds":0.012,
//    "machine":{"host_name":"db1",...},"pci_devices":[{"address":"0000:00:1f.0",...}],
//    "parts":{"machine":{},"pci":{"error":{"file":"sys/bus/pci/devices/0000:03:00.0","errno":110,
//    "text":"Connection timed out"},"silent_seconds":2,...}}}
#pragma once

#include "host/Hardware.h"

#include <string>

namespace zel {

/// Appends the sections of the parts that were asked for.
void writeJson(const Hardware &hardware, std::string &out);

} // namespace zel
