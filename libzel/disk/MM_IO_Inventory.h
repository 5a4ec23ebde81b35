// How many disks a walk over the disks of the host takes.
#pragma once

namespace zel {

/// Whether a pass or a discovery ends after the disk that made `count`: consumers of the list get one disk more
/// than the limit.
bool countedBeyondLimit(int count);

} // namespace zel
