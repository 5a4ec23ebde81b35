// Reads /proc/cpuinfo.
#include "host/hardware/CpuInfo.h"

#include "host/source/AttributeText.h"

#include <algorithm>
#include <charconv>

namespace zel {

namespace {

struct Key {
    std::string_view name;
    std::string_view CpuInfo::*member;
};
constexpr Key keys[] = {
    {"vendor_id", &CpuInfo::vendor},
    {"cpu family", &CpuInfo::family},
    {"model", &CpuInfo::model},
    {"model name", &CpuInfo::modelName},
    {"stepping", &CpuInfo::stepping},
    {"microcode", &CpuInfo::microcode},
    {"address sizes", &CpuInfo::addressSizes},
    {"flags", &CpuInfo::flags},
    {"Features", &CpuInfo::flags}, // arm64
    {"physical id", &CpuInfo::package},
    {"core id", &CpuInfo::core},
    {"CPU implementer", &CpuInfo::implementer},
    {"CPU variant", &CpuInfo::variant},
    {"CPU part", &CpuInfo::part},
    {"CPU revision", &CpuInfo::revision},
};

// Virtualisation, numbers by hand, cryptography, random numbers, memory encryption, and what large programs ask for.
constexpr std::string_view interesting[] = {
    // x86
    "vmx", "svm", "ept", "npt", "aes", "vaes", "pclmulqdq", "vpclmulqdq", "gfni", "sha_ni", "sha512", "rdrand",
    "rdseed", "sse4_2", "popcnt", "movbe", "bmi1", "bmi2", "fma", "f16c", "avx", "avx2", "avx_vnni", "avx512f",
    "avx512dq", "avx512cd", "avx512bw", "avx512vl", "avx512ifma", "avx512vbmi", "avx512_vbmi2", "avx512_vnni",
    "avx512_bitalg", "avx512_vpopcntdq", "avx512_bf16", "avx512_fp16", "avx512_vp2intersect", "amx_tile", "amx_int8",
    "amx_bf16", "amx_fp16", "sme", "sev", "sev_es", "sev_snp", "tme", "sgx", "tdx_guest", "tdx_host_platform",
    "constant_tsc", "nonstop_tsc", "pdpe1gb", "la57", "rtm", "user_shstk", "ibt", "pku", "serialize", "enqcmd",
    "movdir64b", "cat_l3", "cqm", "mba", "hwp", "arch_perfmon",
    // arm64
    "asimd", "sha1", "sha2", "sha3", "crc32", "atomics", "pmull", "fphp", "asimdhp", "asimddp", "asimdfhm", "sve",
    "sve2", "bf16", "i8mm", "rng", "paca", "pacg", "bti", "mte"};

std::string_view takeWord(std::string_view &text) {
    const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
    text.remove_prefix(start);
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
}

bool readNumber(std::string_view text, std::uint64_t &number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

} // namespace

// Sample: model name	: Intel(R) Xeon(R) Processor
std::map<std::uint64_t, CpuInfo> readCpuInfo(std::string_view text) {
    std::map<std::uint64_t, CpuInfo> processors;
    CpuInfo *current = nullptr;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            continue;
        const std::string_view name = trimmed(line.substr(0, colon)), value = trimmed(line.substr(colon + 1));
        std::uint64_t number = 0;
        if (name == "processor") {
            const bool isNew = readNumber(value, number) && processors.size() < CPU_INFO_LIMIT;
            const auto added = isNew ? processors.try_emplace(number) : std::pair(processors.end(), false);
            current = added.second ? &added.first->second : nullptr;
            continue;
        }
        const auto *key =
            std::find_if(std::begin(keys), std::end(keys), [name](const Key &k) { return k.name == name; });
        if (current != nullptr && key != std::end(keys))
            current->*key->member = value;
    }
    return processors;
}

bool hasWord(std::string_view text, std::string_view word) {
    while (!text.empty()) {
        if (takeWord(text) == word)
            return true;
    }
    return false;
}

std::string interestingFlags(std::string_view flags) {
    std::string found;
    while (!flags.empty()) {
        const std::string_view word = takeWord(flags);
        if (std::find(std::begin(interesting), std::end(interesting), word) != std::end(interesting))
            found.append(found.empty() ? "" : " ").append(word);
    }
    return found;
}

} // namespace zel
