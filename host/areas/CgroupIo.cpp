// Parses io.stat.
#include "host/areas/CgroupIo.h"

#include "host/source/LineScan.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <iterator>

namespace zel {

namespace {

bool isDeviceNumber(std::string_view word) {
    const std::size_t colon = word.find(':');
    const auto isDigits = [](std::string_view text) {
        return !text.empty() &&
               std::all_of(text.begin(), text.end(), [](char each) { return digitValue<10>(each) <= 9; });
    };
    return colon != std::string_view::npos && isDigits(word.substr(0, colon)) && isDigits(word.substr(colon + 1));
}

// Sample: rbytes=90430464   The cursor is at the word; it moves behind it.
bool takeIoCount(const char *&cursor, CgroupDevice &device) {
    static constexpr std::string_view keys[] = {"rbytes=", "wbytes=", "rios=", "wios=", "dbytes=", "dios="};
    const auto *key = std::find_if(std::begin(keys), std::end(keys),
                                   [cursor](std::string_view each) { return startsWith(cursor, each); });
    if (key == std::end(keys)) {
        takeWord(cursor);
        return false;
    }
    const char *number = cursor + key->size();
    device.*IO_COUNTS[key - std::begin(keys)] = isSpace(*number) ? Count(Absence::Malformed) : takeCount(number);
    takeWord(cursor);
    return true;
}

} // namespace

// Sample: 8:16 rbytes=1459200 wbytes=314773504 rios=192 wios=353 dbytes=0 dios=0
// Some kernels put the numbers of devices that have no counts before it in the same line, and others names of their own
// behind it.
bool takeCgroupDevice(const char *&cursor, CgroupDevice &device) {
    while (*cursor != '\0') {
        const char *word = cursor;
        cursor = nextLine(cursor);
        for (const auto member : IO_COUNTS)
            device.*member = Absence::Unsupported;
        device.device.clear();
        bool any = false;
        for (word = skipSpaces(word); !endsLine(*word); word = skipSpaces(word)) {
            const char *end = word;
            const std::string_view text = takeWord(end);
            if (!any && isDeviceNumber(text)) {
                device.device = text;
                word = end;
            } else {
                any = takeIoCount(word, device) || any;
            }
        }
        if (any && !device.device.empty())
            return true;
    }
    return false;
}

void addCgroupDevice(const CgroupDevice &device, Cgroup &cgroup) {
    for (std::size_t index = 0; index < std::size(IO_COUNTS); ++index) {
        const Count &count = device.*IO_COUNTS[index];
        Count &sum = cgroup.*IO_SUMS[index];
        if (sum)
            sum = count ? Count(*sum + *count) : count;
    }
}

} // namespace zel
