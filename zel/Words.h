// The right word for a wrong one.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace zel {

/// Letters that have to be changed, added, taken away or swapped with their neighbour to make one word of the other.
std::size_t editDistance(std::string_view one, std::string_view other);

/// The word that was probably meant; empty when none is near. A beginning of a word is near to it.
std::string_view nearestWord(std::string_view wrong, std::span<const std::string_view> words);

/// "cpu, load, disks".
std::string listed(std::span<const std::string_view> words);

} // namespace zel
