// The names of the operations of NFS, in the order in which the kernel counts them.
#pragma once

#include <cstddef>
#include <string_view>

namespace zel {

/// The name of operation `index` of the `count` that the client counts of a version; empty for one that is not known.
std::string_view nfsClientOperation(unsigned version, std::size_t index, std::size_t count);
/// The procedures of the server, and the operations of version 4 that compounds are made of, by their number.
std::string_view nfsServerProcedure(unsigned version, std::size_t index);
std::string_view nfsServerOperation(std::size_t index);

} // namespace zel
