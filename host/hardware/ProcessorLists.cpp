// Writes and counts lists of processors.
#include "host/hardware/ProcessorLists.h"

#include "host/source/AttributeText.h"

#include <algorithm>
#include <charconv>

namespace zel {

namespace {

constexpr std::uint64_t processorsMost = 1U << 20U; // more than any kernel can have

bool takeNumber(std::string_view &text, std::uint64_t &number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() && number < processorsMost;
}

} // namespace

std::string processorList(const std::vector<std::uint64_t> &numbers) {
    std::string list;
    for (std::size_t at = 0; at < numbers.size();) {
        std::size_t last = at;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1)
            ++last;
        list.append(list.empty() ? "" : ",").append(std::to_string(numbers[at]));
        if (last > at)
            list.append(1, '-').append(std::to_string(numbers[last]));
        at = last + 1;
    }
    return list;
}

Count processorCount(std::string_view list) {
    list = trimmed(list);
    std::uint64_t count = 0;
    while (!list.empty()) {
        std::uint64_t first = 0, last = 0;
        if (!takeNumber(list, first))
            return Absence::Malformed;
        last = first;
        if (!list.empty() && list[0] == '-') {
            list.remove_prefix(1);
            if (!takeNumber(list, last) || last < first)
                return Absence::Malformed;
        }
        count += last - first + 1;
        if (list.empty())
            break;
        if (list[0] != ',' || list.size() == 1)
            return Absence::Malformed;
        list.remove_prefix(1);
    }
    return count;
}

} // namespace zel
