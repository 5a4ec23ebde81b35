// /proc/cpuinfo, as x86 and arm64 write it: what each processor says of itself.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace zel {

/// The lines of one processor; empty what it does not have.
struct CpuInfo {
    std::string_view vendor, family, model, modelName, stepping, microcode, addressSizes, flags;
    std::string_view package, core; // "physical id", "core id"
    std::string_view implementer, variant, part, revision;
};

/// By number, at most CPU_INFO_LIMIT; of two of one number the first. The values lie in the text, and lines that are
/// not known are passed over.
inline constexpr std::size_t CPU_INFO_LIMIT = 65536;
std::map<std::uint64_t, CpuInfo> readCpuInfo(std::string_view text);

/// The abilities that tell what a host can be used for, those of them that `flags` has, in their order.
std::string interestingFlags(std::string_view flags);
/// Whether a word is in a text of words.
bool hasWord(std::string_view text, std::string_view word);

} // namespace zel
