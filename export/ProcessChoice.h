// The processes that use most: those that a page of metrics can name without growing with the host.
//
// Of each of processor time, memory in RAM and I/O at most N, so at most three times N. With rates processor time and
// I/O are those of the interval; without them those since the process began. A process that has none of something, or
// whose value is absent, is not among those that use most of it.
#pragma once

#include "export/RowRanking.h"
#include "host/Rates.h"

namespace zel {

class ProcessChoice {
public:
    /// The indices of the processes in the sample, ascending; valid until the next call. `rates` may be null.
    std::span<const std::uint32_t> choose(const Sample &sample, const Rates *rates, std::size_t most);

private:
    RowRanking m_ranking;
};

} // namespace zel
