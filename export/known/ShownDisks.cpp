// Says which block devices the known names are of.
#include "export/known/ShownDisks.h"

namespace zel {

namespace {

constexpr std::string_view digits = "0123456789";

// Takes a number off the end; false where there is none.
bool dropNumber(std::string_view &name) {
    const std::size_t length = name.find_last_not_of(digits) + 1;
    const bool has = length < name.size();
    name = name.substr(0, length);
    return has;
}

// "sda" of "sda1": four kinds of disk that have one letter, not those with more.
bool isLetteredDisk(std::string_view stem) {
    if (stem.size() < 3 || stem.back() < 'a' || stem.back() > 'z')
        return false;
    const std::string_view kind = stem.substr(0, stem.size() - 1);
    return kind == "hd" || kind == "sd" || kind == "vd" || kind == "xvd";
}

// "nvme0n1p" of "nvme0n1p2".
bool isNvmePartition(std::string_view stem) {
    if (!stem.ends_with('p'))
        return false;
    stem.remove_suffix(1);
    if (!dropNumber(stem) || !stem.ends_with('n'))
        return false;
    stem.remove_suffix(1);
    return dropNumber(stem) && stem == "nvme";
}

} // namespace

bool isShownDisk(std::string_view name) {
    std::string_view stem = name;
    if (!dropNumber(stem))
        return true;
    const bool leftOut =
        stem == "ram" || stem == "loop" || stem == "fd" || isLetteredDisk(stem) || isNvmePartition(stem);
    return !leftOut;
}

} // namespace zel
