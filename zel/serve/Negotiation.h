// What a client accepts, from its headers Accept and Accept-Encoding: pure functions over their texts.
//
//   Accept: application/openmetrics-text;version=1.0.0,text/plain;version=0.0.4;q=0.5,*/*;q=0.1
//
// A part that is not formed as RFC 9110 has it is left out; a header of which no part remains, or that is empty or not
// sent, accepts everything.
#pragma once

#include "export/MetricSink.h"

#include <optional>
#include <string_view>

namespace zel {

enum class Coding : unsigned char { Identity, Gzip, Zstd };

/// The name in Content-Encoding; of the identity an empty text.
std::string_view codingName(Coding coding);

/// The format of /metrics: the one of the higher weight; of two with the same weight the one that the client names more
/// closely, then the older one, which every reader of the ecosystem takes. Nothing where it accepts neither.
std::optional<MetricFormat> negotiateMetrics(std::string_view accept);

/// Whether a media type such as "application/json" is accepted.
bool isAccepted(std::string_view accept, std::string_view mediaType);

/// The coding of the higher weight; of two with the same weight zstd before gzip before none. Nothing where none of
/// them is accepted, not even none.
std::optional<Coding> negotiateCoding(std::string_view acceptEncoding);

} // namespace zel
